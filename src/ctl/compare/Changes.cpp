#include "ctl/compare/Changes.h"

#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "linux/files/FaultLog.h"
#include "linux/files/FileDescriptor.h"
#include "linux/preferences/PolicyFileContent.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/formats/PropertyList.h"

namespace gatehall::ctl {

namespace {

std::string contentOf(const std::string& file) {
  struct stat status {};
  int error = 0;
  const auto opened = openRegularFile(file, Symlinks::Follow, status, error);
  auto content = error == 0 ? readWhole(opened, kLargestPropertyList, error) : std::nullopt;
  if (!content) throw UsageError(file + ": " + std::generic_category().message(error));
  return std::move(*content);
}

std::string faultText(const std::string& file, const PolicyFileContent& content,
                      const SettingFault& fault) {
  auto text = file;
  const auto line = content.lines.find(fault.key);
  if (line != content.lines.end()) text.append(":").append(std::to_string(line->second));
  return text.append(": ").append(printable(fault.key)).append(": ").append(fault.text);
}

void addManaged(const std::string& file, Changes& changes) {
  const auto place = managedPlaces(kLoginScreenDomain).front();
  auto bytes = contentOf(file);
  try {
    const auto content = policyFileContent(place, bytes);
    for (const auto& fault : content.faults) {
      auto text = faultText(file, content, fault);
      if (fault.isRefused) throw UsageError(text);
      changes.remarks.push_back(std::move(text));
    }
  } catch (const MalformedPropertyList& error) {
    throw UsageError(file + ": " + error.what());
  }
  changes.overlay.files.insert_or_assign(place, std::move(bytes));
}

void addGroup(const std::string& text, Changes& changes) {
  const auto equals = text.find('=');
  if (equals == 0 || equals == std::string::npos) {
    throw UsageError("--with-group: '" + text + "' is not NAME=USER,USER...");
  }
  Strings members;
  for (auto begin = equals + 1; begin < text.size();) {
    const auto end = std::min(text.find(',', begin), text.size());
    if (end == begin || end + 1 == text.size()) {
      throw UsageError("--with-group: '" + text + "' has a name of nothing between its commas");
    }
    members.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  changes.overlay.groups.insert_or_assign(text.substr(0, equals), std::move(members));
}

}  // namespace

Changes changesOf(const Request& request) {
  Changes changes;
  const auto files = request.allOf("--with-managed");
  if (files.size() > 1) throw UsageError("--with-managed is given twice");
  for (const auto& file : files) addManaged(file, changes);
  for (const auto& group : request.allOf("--with-group")) addGroup(group, changes);
  return changes;
}

}  // namespace gatehall::ctl
