#include "linux/records/DirectoryTable.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/Ascii.h"

namespace gatehall {

namespace {

constexpr double kLongestTime = 3600;

}  // namespace

bool isSettingName(std::string_view text, std::string_view allowed) {
  return !text.empty() && text.size() <= 64 && std::ranges::all_of(text, [allowed](char c) {
    return ascii::isAlphanumeric(c) || allowed.find(c) != std::string_view::npos;
  });
}

bool isOfNameService(const toml::table& directory) {
  const auto* kind = directory.get_as<std::string>("kind");
  return kind != nullptr && kind->get() == "nss";
}

std::string DirectoryTable::placeOf(const toml::node& node) {
  std::string place(kDirectoryFile);
  return place.append(":").append(std::to_string(node.source().begin.line));
}

const toml::node* DirectoryTable::find(std::string_view key, Needed needed) {
  mKnown.emplace(key);
  const auto* node = mTable.get(key);
  if (node == nullptr && needed == Needed::Yes) report(mTable, key, "is missing");
  return node;
}

void DirectoryTable::report(const toml::node& where, std::string_view key, std::string_view fault) {
  keep(mFaults.report(kDirectoryFile, where.source().begin.line,
                      "directory." + std::string(key) + " " + std::string(fault)));
}

void DirectoryTable::keep(std::string fault) {
  if (mFault.empty()) mFault = std::move(fault);
}

void DirectoryTable::refuse(std::string_view key, std::string_view fault) {
  report(*mTable.get(key), key, fault);
}

void DirectoryTable::readDirectoryName(std::string& name) {
  readText("name", name, Needed::Yes);
  if (!name.empty() && !isSettingName(name, ".-_")) {
    refuse("name", "holds other characters than letters, digits, dots, hyphens and underscores");
  }
}

void DirectoryTable::readText(std::string_view key, std::string& text, Needed needed) {
  const auto* node = find(key, needed);
  if (node == nullptr) return;
  const auto* value = node->as_string();
  if (value == nullptr || value->get().empty()) return report(*node, key, "is not a text");
  if (value->get().find('\0') != std::string::npos) return report(*node, key, "holds a NUL byte");
  text = value->get();
}

void DirectoryTable::readPath(std::string_view key, std::string& path) {
  readText(key, path);
  if (mTable.contains(key) && !path.starts_with('/')) refuse(key, "is not an absolute path");
}

void DirectoryTable::readFlag(std::string_view key, bool& flag) {
  const auto* node = find(key);
  if (node == nullptr) return;
  const auto* value = node->as_boolean();
  if (value == nullptr) return report(*node, key, "is neither true nor false");
  flag = value->get();
}

void DirectoryTable::readSeconds(std::string_view key, std::chrono::milliseconds& time) {
  const auto* node = find(key);
  if (node == nullptr) return;
  const auto seconds = node->value<double>();
  const bool isTime = seconds && *seconds >= 0.001 && *seconds <= kLongestTime;
  if (!isTime) {
    return report(*node, key, "is not a number of seconds up to 3600");
  }
  time = std::chrono::milliseconds(std::lround(*seconds * 1000));
}

void DirectoryTable::readUserID(std::string_view key, std::uint32_t& userID) {
  const auto* node = find(key);
  if (node == nullptr) return;
  const auto* value = node->as_integer();
  if (value == nullptr || value->get() < 1 || value->get() >= UINT32_MAX) {
    return report(*node, key, "is not a user id from 1 to 4294967294");
  }
  userID = static_cast<std::uint32_t>(value->get());
}

void DirectoryTable::readUserIDs(UserIDRange& range) {
  readUserID("min-id", range.first);
  readUserID("max-id", range.last);
  if (range.first > range.last && !isFaulty()) report(mTable, "min-id", "is above max-id");
}

void DirectoryTable::reportUnknownKeys() {
  const std::vector<std::string_view> known(mKnown.begin(), mKnown.end());
  for (const auto& [key, value] : mTable) {
    if (mKnown.contains(key.str())) continue;
    keep(reportUnknownKey(mFaults, kDirectoryFile, key, "directory", known));
  }
}

}  // namespace gatehall
