#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

/// What the suites of this folder ask of a service, whichever host it is of. A suite's host is an
/// abstract class: a platform, and what happens to it from outside. Whoever writes a host derives
/// from it and instantiates the suite:
///
///   INSTANTIATE_TEST_SUITE_P(World, DirectoryContract,
///                            testing::Values(&contracts::make<WorldDirectoryHost>));
namespace gatehall::contracts {

struct Account {
  const char* name;
  std::uint32_t userID;
  std::uint32_t groupID;
  const char* fullName;
  const char* home;
  const char* shell;
  const char* password;  ///< "": the empty password is accepted
};

struct Group {
  const char* name;
  std::uint32_t groupID;
  std::array<const char*, 3> members;  ///< nullptr for a place that is free
};

/// Everyone has an account on the machine itself. There may be more accounts and groups, whose
/// names and numbers are none of these, none of which has "xyzzy" anywhere.
inline constexpr Account kAnn = {"ann",           1000, 50, "Ann Lee", "/home/ann", "/bin/bash",
                                 "ann's password"};
inline constexpr Account kBob = {"bob", 1001, 50, "Bob Ray", "/home/bob", "/bin/sh", ""};
inline constexpr Account kCarol = {
    "carol", 1002, 50, "Carol Ost", "/home/carol", "/bin/bash", "carol's password"};
inline constexpr std::array kAccounts = {kAnn, kBob, kCarol};

inline constexpr Group kStaff = {"staff", 50, {"ann", "bob", "carol"}};
inline constexpr Group kAdmin = {"admin", 80, {"ann", nullptr, nullptr}};
inline constexpr std::array kGroups = {kStaff, kAdmin};

/// Makes a host of a suite, a new one for each case.
template <class Host>
using Factory = std::function<std::unique_ptr<Host>()>;

template <class Host>
std::unique_ptr<Host> make() {
  return std::make_unique<Host>();
}

}  // namespace gatehall::contracts
