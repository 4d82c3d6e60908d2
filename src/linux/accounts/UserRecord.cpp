#include "linux/accounts/UserRecord.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <span>
#include <string.h>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountLine.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostPath.h"
#include "linux/files/OwnedFile.h"
#include "linux/files/PolicyFile.h"
#include "portable/text/NearestName.h"

namespace gatehall {

namespace {

using Json = nlohmann::json;

constexpr std::string_view kFolder = "/etc/userdb";
constexpr std::string_view kSection = "com.orvane.gatehall";
constexpr std::size_t kLargestFile = 1048576;
constexpr std::size_t kMostFiles = 10000;
constexpr int kDeepest = 32;

/// What is wrong in a record, and where.
struct Fault {
  std::string text;
};

/// Kinds that the account's identity, its password and parental controls give, whatever the section
/// says.
bool isReserved(std::string_view kind) {
  return kind == attribute::RecordName || kind == attribute::UniqueID || kind == attribute::GUID ||
         kind == attribute::PrimaryGroupID || kind == attribute::MetaNodeLocation ||
         kind == attribute::Password || kind == attribute::TavloSettings;
}

/// The fields that count here. Records have many others.
constexpr std::array<std::string_view, 13> kFields{
    "userName", "uid",     "gid",      "realName", "homeDirectory", "shell", "disposition",
    "uuid",     "aliases", "memberOf", "locked",   "notAfterUSec",  kSection};

/// What makes an account a mobile one.
constexpr std::array<std::string_view, 2> kMobileKinds{attribute::OriginalNodeName,
                                                       attribute::CopyTimestamp};

/// A name that is one slip away from one that counts is that one, damaged or misspelled. Without it
/// the record would say something else.
void requireNoSlip(std::string_view name, std::span<const std::string_view> known) {
  if (std::ranges::find(known, name) != known.end()) return;
  const auto nearest = nearestName(name, known);
  if (!nearest.isSlip()) return;
  throw Fault{printable(name) + " is no field; did you mean " + std::string(nearest.name) + "?"};
}

/// Watches a text being parsed.
class ParseWatch {
 public:
  bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
    if (depth > kDeepest) mIsTooDeep = true;
    // Values nested too deep are dropped while they are read, so they take no room.
    if (mIsTooDeep) return false;
    if (event == Json::parse_event_t::object_start) mKeys.emplace_back();
    if (event == Json::parse_event_t::object_end) mKeys.pop_back();
    if (event == Json::parse_event_t::key) {
      auto key = parsed.get<std::string>();
      if (mKeys.back().contains(key)) mTwice = key;
      mKeys.back().insert(std::move(key));
    }
    return true;
  }

  /// Raises what it saw.
  void require() const {
    if (mIsTooDeep) throw Fault{"nested too deep"};
    // The last of them would count, and the other may be what was meant.
    if (mTwice) throw Fault{printable(*mTwice) + " stands there twice"};
  }

 private:
  bool mIsTooDeep = false;
  std::vector<std::set<std::string>> mKeys;  ///< of the objects that are open
  std::optional<std::string> mTwice;
};

Json parse(std::string_view text) {
  ParseWatch watch;
  Json json;
  try {
    json = Json::parse(text.begin(), text.end(), std::ref(watch));
  } catch (const Json::parse_error& error) {
    throw Fault{std::string("not JSON at byte ") + std::to_string(error.byte)};
  }
  watch.require();
  if (!json.is_object()) throw Fault{"not an object"};
  return json;
}

std::string textOf(const Json& json, const char* key) {
  const auto found = json.find(key);
  if (found == json.end() || found->is_null()) return {};
  if (!found->is_string()) throw Fault{std::string(key) + " is not a string"};
  auto text = found->get<std::string>();
  if (text.find('\0') != std::string::npos)
    throw Fault{std::string(key) + " holds a NUL character"};
  return text;
}

bool flagOf(const Json& json, const char* key) {
  const auto found = json.find(key);
  if (found == json.end() || found->is_null()) return false;
  if (!found->is_boolean()) throw Fault{std::string(key) + " is not a boolean"};
  return found->get<bool>();
}

std::optional<std::uint64_t> numberOf(const Json& json, const char* key) {
  const auto found = json.find(key);
  if (found == json.end() || found->is_null()) return std::nullopt;
  if (!found->is_number_unsigned()) {
    throw Fault{std::string(key) + " is not a number from 0"};
  }
  return found->get<std::uint64_t>();
}

std::optional<std::uint32_t> idOf(const Json& json, const char* key) {
  const auto number = numberOf(json, key);
  if (number && *number >= UINT32_MAX) {
    throw Fault{std::string(key) + " " + std::to_string(*number) + " is out of range"};
  }
  if (!number) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

Strings textsOf(const Json& json, const char* key) {
  const auto found = json.find(key);
  if (found == json.end() || found->is_null()) return {};
  if (!found->is_array() ||
      !std::all_of(found->begin(), found->end(), [](const Json& e) { return e.is_string(); })) {
    throw Fault{std::string(key) + " is not a list of strings"};
  }
  return found->get<Strings>();
}

/// An attribute's value: a string, a number, a boolean (1 or 0), or a list of these.
Strings attributeValues(const std::string& kind, const Json& json) {
  Strings values;
  const auto add = [&](const Json& element) {
    if (element.is_string()) {
      values.push_back(element.get<std::string>());
    } else if (element.is_boolean()) {
      values.emplace_back(element.get<bool>() ? "1" : "0");
    } else if (element.is_number_integer()) {
      values.push_back(element.dump());
    } else {
      throw Fault{std::string(kSection) + "." + kind + " is not a string or a list of strings"};
    }
  };
  if (json.is_array()) {
    for (const auto& element : json) add(element);
  } else {
    add(json);
  }
  return values;
}

std::map<std::string, Strings, std::less<>> attributesOf(const Json& json) {
  std::map<std::string, Strings, std::less<>> attributes;
  const auto section = json.find(kSection);
  if (section == json.end()) return attributes;
  if (!section->is_object()) throw Fault{std::string(kSection) + " is not an object"};
  for (const auto& [key, value] : section->items()) {
    const auto kind = attribute::canonical(key);
    if (isReserved(kind)) {
      throw Fault{std::string(kSection) + "." + key + " can't be set here"};
    }
    requireNoSlip(kind, kMobileKinds);
    attributes[std::string(kind)] = attributeValues(key, value);
  }
  return attributes;
}

bool isLoginName(std::string_view name) {
  return !name.empty() && name.size() <= 255 && std::none_of(name.begin(), name.end(), [](char c) {
    return c == ':' || c == ',' || c == '/' || (c >= 0 && c < ' ');
  });
}

bool isPath(std::string_view path) {
  return path.starts_with('/') && std::none_of(path.begin(), path.end(), [](char c) {
           return c == ':' || (c >= 0 && c < ' ');
         });
}

}  // namespace

std::shared_ptr<const UserRecord> parseUserRecord(std::string_view text, std::string& fault) {
  fault.clear();
  try {
    const auto json = parse(text);
    for (const auto& [key, value] : json.items()) requireNoSlip(key, kFields);
    auto record = std::make_shared<UserRecord>();
    record->userName = textOf(json, "userName");
    if (!isLoginName(record->userName)) throw Fault{"userName is not a login name"};
    record->userID = idOf(json, "uid");
    record->groupID = idOf(json, "gid");
    record->realName = textOf(json, "realName");
    record->homeDirectory = textOf(json, "homeDirectory");
    record->shell = textOf(json, "shell");
    for (const auto* path : {&record->homeDirectory, &record->shell}) {
      if (!path->empty() && !isPath(*path)) throw Fault{printable(*path) + " is not a path"};
    }
    record->disposition = textOf(json, "disposition");
    const auto uuid = textOf(json, "uuid");
    if (!uuid.empty()) {
      record->uuid = uuid.size() == 32 ? parseHexadecimal(uuid) : parseUUID(uuid);
      if (!record->uuid) throw Fault{"uuid is not a UUID"};
    }
    record->aliases = textsOf(json, "aliases");
    if (!std::all_of(record->aliases.begin(), record->aliases.end(), isLoginName)) {
      throw Fault{"aliases holds what is not a login name"};
    }
    record->memberOf = textsOf(json, "memberOf");
    record->isLocked = flagOf(json, "locked");
    record->notAfterMicroseconds = numberOf(json, "notAfterUSec");
    record->attributes = attributesOf(json);
    return record;
  } catch (const Fault& found) {
    fault = found.text;
  } catch (const Json::exception& error) {
    fault = error.what();
  }
  return nullptr;
}

PrivilegedHashes PrivilegedHashes::read(const HostOptions& options, FaultLog& faults,
                                        std::string_view userName) {
  const auto path = std::string(kFolder) + "/" + std::string(userName) + ".user-privileged";
  PrivilegedHashes result;
  std::string fault;
  auto content = readOwnedFile(hostPath(options, path, Symlinks::Refuse), {systemOwner(options)},
                               kLargestFile, fault);
  if (!content) {
    result.isUnreadable = !fault.empty();
    return result;
  }
  try {
    auto json = parse(*content);
    // The file holds the section itself; a whole record has it under its name.
    auto& section = json.contains("privileged") ? json["privileged"] : json;
    auto texts = textsOf(section, "hashedPassword");
    for (auto& text : texts) {
      result.hashes.push_back(std::make_unique<SecretText>(text));
      explicit_bzero(text.data(), text.size());
    }
    if (!texts.empty()) {
      for (auto& text : section["hashedPassword"]) {
        auto& kept = text.get_ref<std::string&>();
        explicit_bzero(kept.data(), kept.size());
      }
    }
  } catch (const Fault& found) {
    fault = found.text;
  } catch (const Json::exception&) {
    // Its message would quote the file.
    fault = "not a privileged section";
  }
  explicit_bzero(content->data(), content->size());
  if (!fault.empty()) {
    faults.report(path, fault);
    result.isUnreadable = true;
  }
  return result;
}

UserRecords::UserRecords(const HostOptions& options, FaultLog& faults) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(hostPath(options, kFolder).c_str()),
                                                   closedir);
  const auto failFolder = [&](std::string_view fault) {
    faults.report(kFolder, fault);
    mFolderFault.assign(kFolder).append(": ").append(fault);
  };
  if (!folder) {
    if (errno != ENOENT) failFolder(strerrordesc_np(errno));
    return;
  }
  for (;;) {
    errno = 0;
    const auto* entry = readdir(folder.get());
    if (entry == nullptr && errno != 0) failFolder(strerrordesc_np(errno));
    if (entry == nullptr) break;
    constexpr std::string_view kSuffix = ".user";
    const std::string_view file = entry->d_name;
    if (!file.ends_with(kSuffix)) continue;
    // UID.user is another name of the same record.
    const auto stem = file.substr(0, file.size() - kSuffix.size());
    if (ascii::isNumber(stem)) continue;
    if (mRecords.size() + mUnreadable.size() == kMostFiles) {
      failFolder("too many user records; the rest is not read");
      break;
    }
    std::string fault;
    if (auto record = read(options, stem, fault)) {
      mRecords.push_back(std::move(record));
    } else if (!fault.empty()) {
      faults.report(pathOf(stem), fault);
      mUnreadable.emplace(stem, pathOf(stem).append(": ").append(fault));
    }
  }
  std::sort(mRecords.begin(), mRecords.end(),
            [](const auto& left, const auto& right) { return left->userName < right->userName; });
}

std::string UserRecords::pathOf(std::string_view userName) {
  std::string path(kFolder);
  return path.append("/").append(userName).append(".user");
}

std::shared_ptr<const UserRecord> UserRecords::read(const HostOptions& options,
                                                    std::string_view userName, std::string& fault) {
  const auto path = pathOf(userName);
  std::optional<std::string> content;
  try {
    content = readPolicyFile(options, path, kLargestFile);
  } catch (const PlatformException& error) {
    fault = std::string_view(error.what()).substr(path.size() + std::string_view(": ").size());
    return nullptr;
  }
  if (!content) return nullptr;
  auto record = parseUserRecord(*content, fault);
  if (!record || record->userName == userName) return record;
  fault = "userName is not the file's name";
  return nullptr;
}

const std::string* UserRecords::faultOf(std::string_view userName) const {
  const auto found = mUnreadable.find(userName);
  if (found != mUnreadable.end()) return &found->second;
  return mFolderFault.empty() ? nullptr : &mFolderFault;
}

std::shared_ptr<const UserRecord> UserRecords::named(std::string_view userName) const {
  const auto found = std::lower_bound(
      mRecords.begin(), mRecords.end(), userName,
      [](const auto& record, std::string_view name) { return record->userName < name; });
  return found != mRecords.end() && (*found)->userName == userName ? *found : nullptr;
}

}  // namespace gatehall
