#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "ctl/picture/UsersPicture.h"
#include "ctl/print/UsersAnswer.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

Canvas::Format formatOf(const std::string& file) {
  const auto ending = std::filesystem::path(file).extension();
  if (ending == ".png") return Canvas::Format::PNG;
  if (ending == ".svg") return Canvas::Format::SVG;
  throw UsageError("--picture: '" + file + "' ends in neither .png nor .svg");
}

int numberOf(const std::string& option, const std::string& text, int least, int most) {
  int number = 0;
  const auto* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || number < least || number > most) {
    throw UsageError(option + ": '" + text + "' is no number from " + std::to_string(least) +
                     " to " + std::to_string(most));
  }
  return number;
}

/// A world brings pictures along beside its file; a full path is one of its own machine's. Those
/// of a machine under a folder are in there.
std::optional<std::filesystem::path> locatePicture(const Host& host, const std::string& path) {
  const std::filesystem::path picture(path);
  if (!host.worldFile()) {
    if (!picture.is_absolute()) return std::nullopt;
    return host.fileAt(path);
  }
  if (picture.is_absolute()) return std::nullopt;
  return std::filesystem::path(*host.worldFile()).parent_path() / picture;
}

/// How the picture is to be drawn; absent when none is asked for.
std::optional<UsersPictureStyle> pictureStyle(const Host& host, const Request& request) {
  const auto width = request.option("--width");
  const auto scale = request.option("--scale");
  const auto picture = request.option("--picture");
  if (!picture) {
    if (width) throw UsageError("--width is said without --picture");
    if (scale) throw UsageError("--scale is said without --picture");
    return std::nullopt;
  }
  UsersPictureStyle style{
      .format = formatOf(*picture),
      .inLocalTime = !host.worldFile(),
      .locatePicture = [&host](const std::string& path) { return locatePicture(host, path); }};
  if (width) {
    style.width =
        numberOf("--width", *width, UsersPictureStyle::kNarrowest, UsersPictureStyle::kWidest);
  }
  if (scale) style.scale = numberOf("--scale", *scale, 1, UsersPictureStyle::kLargestScale);
  return style;
}

/// Empty, or what went wrong.
std::string write(const std::string& file, const std::string& bytes) {
  auto* stream = std::fopen(file.c_str(), "wbe");
  bool isWritten = stream != nullptr;
  if (stream != nullptr) {
    isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    isWritten = std::fclose(stream) == 0 && isWritten;
  }
  return isWritten ? std::string() : "unable to write " + file + ": " + std::strerror(errno);
}

Answer run(const Host& host, const Request& request) {
  const auto style = pictureStyle(host, request);
  const auto users = UserAccess::sharedUserAccess()->visibleUsersList();
  auto answer = usersAnswer(host.log(), request.json, users, "no list of users can be had");
  if (style) {
    const auto picture = usersPicture(users, *style, platform().clock().now());
    answer.messages = picture.notes;
    const auto problem = write(*request.option("--picture"), picture.bytes);
    if (!problem.empty()) {
      answer.status = ExitStatus::WrongUsage;
      answer.messages.push_back(problem);
    }
  }
  return answer;
}

}  // namespace

Verb usersVerb() {
  return {
      .name = "users",
      .options = {{"--picture", "FILE",
                   "Also draw the list, into a file that ends in .png or .svg"},
                  {"--width", "PIXELS", "The picture's width, from 320 to 4096 (440 a column)"},
                  {"--scale", "NUMBER", "Pixels for each of these, 1 to 3: 2 for fine screens"}},
      .summary = "The users whom the login screen shows",
      .description =
          R"(Lists the users whom a login screen shows, in its order: local users, less those whom the
preferences hide, and whoever is logged in. With --picture the list is also drawn as a login
screen may show it, a long one in columns: in a world, account pictures are those that stand
beside its file. Where no font has the letters of a name, standard error says which package does.)",
      .example = "--world examples/hidden-admins.world.json users",
      .run = run,
  };
}

}  // namespace gatehall::ctl
