#include "ctl/check/AccessFindings.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include "ctl/check/SilentLog.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;

Records find(std::string_view type, std::string_view attribute, Strings values,
             std::string_view returning) {
  auto found = queryResults(
      searchNode(), equalTo({type}, attribute, std::move(values), {std::string(returning)}));
  if (!found) throw PlatformException("The directory does not answer.");
  return std::move(*found);
}

Strings valuesOf(const Records& records, std::string_view attribute) {
  Strings values;
  for (const auto& record : records) {
    std::ranges::move(record->valuesForAttribute(attribute).value_or(Strings()),
                      std::back_inserter(values));
  }
  return values;
}

Records accessGroups(std::string_view returning) {
  return find(record::Groups, attribute::RecordName, {std::string(kAccessGroup)}, returning);
}

bool hasMembers() {
  for (const auto kind :
       {attribute::GroupMembership, attribute::GroupMembers, attribute::NestedGroups}) {
    if (!valuesOf(accessGroups(kind), kind).empty()) return true;
  }
  const auto ids = valuesOf(accessGroups(attribute::PrimaryGroupID), attribute::PrimaryGroupID);
  return !ids.empty() &&
         !find(record::Users, attribute::PrimaryGroupID, ids, attribute::RecordName).empty();
}

void addStrangers(const Finding& place, std::vector<Finding>& findings) {
  const auto names = valuesOf(accessGroups(attribute::GroupMembership), attribute::GroupMembership);
  if (names.empty()) return;
  const auto known =
      valuesOf(find(record::Users, attribute::RecordName, names, attribute::RecordName),
               attribute::RecordName);
  for (const auto& name : names) {
    if (std::ranges::find(known, name) != known.end()) continue;
    findings.push_back({Severity::Warning, place.file, place.line,
                        "the group " + std::string(kAccessGroup) + " names " + printable(name) +
                            ", whom nobody knows",
                        "Correct the name, or run \"gpasswd -d " + printable(name) + " " +
                            std::string(kAccessGroup) + "\"."});
  }
}

}  // namespace

Finding placeOfGroup(const HostOptions& options, std::string_view name) {
  SilentLog log;
  FaultLog faults(log);
  Finding place;
  accountFiles::scan(options, faults, accountFiles::kGroup,
                     [&](std::string_view line, std::uint64_t number) {
                       if (!accountLine::hasName(line, name)) return true;
                       place = {.file = std::string(accountFiles::kGroup), .line = number};
                       return false;
                     });
  return place;
}

std::vector<Finding> findingsOfAccessGroup(const HostOptions& options, Strings& messages) {
  std::vector<Finding> findings;
  const std::string group(kAccessGroup);
  try {
    const auto place = placeOfGroup(options, kAccessGroup);
    if (accessGroups(attribute::RecordName).empty()) return findings;
    if (hasMembers()) {
      addStrangers(place, findings);
    } else {
      findings.push_back({Severity::Error, place.file, place.line,
                          "the group " + group +
                              " is there and has no members, so that nobody "
                              "may log in",
                          "Add those who may (\"gpasswd -a NAME " + group +
                              "\"), or remove the group (\"groupdel " + group +
                              "\"), which admits everybody."});
    }
  } catch (const PlatformException& failure) {
    messages.push_back("who is in " + group + " can't be told: " + failure.what());
  }
  return findings;
}

}  // namespace gatehall::ctl
