#include <gmock/gmock.h>

#include "linux/ldap/client/Settings.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kFile = "/etc/gatehall/directory.toml";
constexpr std::string_view kGood =
    "[[directory]]\nname = \"good\"\nservers = [\"ldaps://ldap.example.org\"]\n"
    "base = \"dc=example,dc=org\"\n";

class LdapSettingsFile : public testing::Test {
 protected:
  /// The settings that can be used; the faults of the others are kept.
  std::vector<ldap::Settings> read(std::string_view text) {
    machine.write(kFile, text);
    FaultLog faults(machine.log);
    std::vector<ldap::Settings> usable;
    unusable.clear();
    for (auto& each : ldap::Settings::readAll(machine.options, faults)) {
      if (const auto* table = std::get_if<ldap::Settings::Unusable>(&each)) {
        unusable.push_back(*table);
      } else {
        usable.push_back(std::move(std::get<ldap::Settings>(each)));
      }
    }
    return usable;
  }
  Strings namesIn(std::string_view text) {
    Strings names;
    for (const auto& each : read(text)) names.push_back(each.name);
    return names;
  }
  Machine machine;
  std::vector<ldap::Settings::Unusable> unusable;
};

std::string at(int line, const std::string& fault) {
  return std::string(kFile) + ":" + std::to_string(line) + ": " + fault;
}

}  // namespace

TEST_F(LdapSettingsFile, NeedNotExistAndNeedNotNameADirectory) {
  FaultLog faults(machine.log);
  EXPECT_THAT(ldap::Settings::readAll(machine.options, faults), IsEmpty());
  EXPECT_THAT(namesIn("[local]\nguests = []\n"), IsEmpty());
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapSettingsFile, HasDefaultsThatAreSafe) {
  const auto settings = read(kGood).at(0);
  EXPECT_EQ(settings.tls, ldap::Settings::Tls::Verified);
  EXPECT_EQ(settings.timeLimit.count(), 2000);
  EXPECT_FALSE(settings.followsReferrals);
  EXPECT_EQ(settings.whenAway, ldap::Settings::WhenAway::Refuse);
  EXPECT_EQ(settings.profile, ldap::Profile::Rfc2307);
  EXPECT_EQ(settings.usersBase, "dc=example,dc=org");
  EXPECT_EQ(settings.groupsBase, "dc=example,dc=org");
}

TEST_F(LdapSettingsFile, HoldsDirectoriesInTheirOrder) {
  const auto all = read(
      "[[directory]]\nname = \"b-1\"\nservers = [\"ldap://[::1]:3389/\", \"ldapi://%2Frun%2Fx\"]\n"
      "users-base = \"ou=people,dc=x\"\ngroups-base = \"ou=groups,dc=x\"\n"
      "users-filter = \"(o=here)\"\ngroups-filter = \"(!(o=there))\"\n"
      "profile = \"active-directory\"\ntls = \"unverified\"\nca-file = \"/ca.pem\"\n"
      "bind-dn = \"cn=reader,dc=x\"\nbind-password-file = \"/secret\"\n"
      "password-policy = \"cn=policy,dc=x\"\ntime-limit = 0.25\ntotal-time-limit = 7\n"
      "page-size = 50\nfollow-referrals = true\nwhen-away = \"ignore\"\n"
      "[directory.users]\n\"lxAttrTypeStandard:FullName\" = \"name\"\nPicture = \"labeledURI\"\n"
      "[directory.groups]\nRecordName = \"\"\n" +
      std::string(kGood));
  ASSERT_EQ(all.size(), 2U);
  const auto& first = all.front();
  EXPECT_EQ(first.name, "b-1");
  EXPECT_EQ(first.servers.at(0).host, "::1");
  EXPECT_EQ(first.servers.at(0).port, 3389);
  EXPECT_EQ(first.servers.at(1).host, "/run/x");
  EXPECT_EQ(first.usersBase, "ou=people,dc=x");
  EXPECT_EQ(first.groupsBase, "ou=groups,dc=x");
  EXPECT_EQ(first.usersFilter, "(o=here)");
  EXPECT_EQ(first.groupsFilter, "(!(o=there))");
  EXPECT_EQ(first.profile, ldap::Profile::ActiveDirectory);
  EXPECT_EQ(first.tls, ldap::Settings::Tls::Unverified);
  EXPECT_EQ(first.caFile, "/ca.pem");
  EXPECT_EQ(first.bindName, "cn=reader,dc=x");
  EXPECT_EQ(first.bindPasswordFile, "/secret");
  EXPECT_EQ(first.passwordPolicy, "cn=policy,dc=x");
  EXPECT_EQ(first.timeLimit.count(), 250);
  EXPECT_EQ(first.totalTimeLimit.count(), 7000);
  EXPECT_EQ(first.pageSize, 50);
  EXPECT_TRUE(first.followsReferrals);
  EXPECT_EQ(first.whenAway, ldap::Settings::WhenAway::Ignore);
  EXPECT_EQ(all.back().whenAway, ldap::Settings::WhenAway::Refuse);
  EXPECT_THAT(first.userAttributes,
              ElementsAre(std::pair("FullName", "name"), std::pair("Picture", "labeledURI")));
  EXPECT_THAT(first.groupAttributes, ElementsAre(std::pair("RecordName", "")));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapSettingsFile, MayNameAnAccountOfActiveDirectoryByItsPrincipalName) {
  const auto accountOf = [this](const std::string& account) {
    const auto all = read(std::string(kGood) +
                          "profile = \"active-directory\"\nmap-ids = true\n"
                          "bind-password-file = \"/secret\"\nbind-dn = \"" +
                          account + "\"\n");
    return all.empty() ? "" : all.front().bindName;
  };
  for (const auto* account : {"reader@example.org", "cn=reader,dc=example,dc=org"}) {
    EXPECT_EQ(accountOf(account), account);
  }
  for (const auto* none : {"reader", "@example.org", "reader@", "rea der@x", "a@b@c"}) {
    EXPECT_EQ(accountOf(none), "") << none;
    EXPECT_THAT(unusable.at(0).fault, HasSubstr("bind-dn is not a distinguished name")) << none;
  }
}

TEST_F(LdapSettingsFile, EitherMapsIDsOrNamesTheirAttributes) {
  const auto areRead = [this](const std::string& line) {
    return !read(std::string(kGood) + "profile = \"active-directory\"\nmap-ids = true\n" + line)
                .empty();
  };
  EXPECT_TRUE(areRead("users.FullName = \"name\"\ngroups.GroupMembers = \"members\"\n"));
  const std::pair<const char*, const char*> beside[] = {
      {"users.UniqueID", "employeeNumber"},
      {"users.PrimaryGroupID", "employeeNumber"},
      {"groups.PrimaryGroupID", ""},
      {"groups.UniqueID", "employeeNumber"},
  };
  for (const auto& [key, name] : beside) {
    EXPECT_FALSE(areRead(std::string(key) + " = \"" + name + "\"\n")) << key;
    EXPECT_THAT(unusable.at(0).fault,
                HasSubstr(std::string("map-ids stands beside ") + key + ": ids are mapped or"));
  }
}

TEST_F(LdapSettingsFile, HasNoUseForADirectoryThatIsWrittenWrongAndSaysWhere) {
  const std::vector<std::pair<std::string, std::string>> wrong{
      {"name = 5", "directory.name is not a text"},
      {"name = \"a/b\"",
       "directory.name holds other characters than letters, digits, dots, hyphens and underscores"},
      {"servers = \"ldap://x\"", "directory.servers is not a list of URIs"},
      {"servers = []", "directory.servers is not a list of URIs"},
      {"servers = [\"http://x\"]", "directory.servers holds what is no ldap, ldaps or ldapi URI"},
      {"base = \"example\"", "directory.base is not a distinguished name"},
      {"users-filter = \"o=here\"", "directory.users-filter is not a filter in parentheses"},
      {"groups-filter = \"(a=1)(b=2)\"", "directory.groups-filter is not a filter in parentheses"},
      {"users-filter = \"\"", "directory.users-filter is not a text"},
      {"profile = \"nis\"", "directory.profile is none of rfc2307, rfc2307bis, active-directory"},
      {"tls = true", "directory.tls is not a text"},
      {"tls = \"no\"", "directory.tls is none of verified, unverified, off"},
      {"ca-file = \"ca.pem\"", "directory.ca-file is not an absolute path"},
      {"bind-dn = \"cn=x\"", "directory.bind-password-file is missing"},
      {"bind-dn = \"reader@example.org\"", "directory.bind-dn is not a distinguished name"},
      {"map-ids = 1", "directory.map-ids is neither true nor false"},
      {"map-ids = true", "directory.map-ids needs the profile active-directory"},
      {"bind-password-file = \"/x\"", "directory.bind-dn is missing"},
      {"time-limit = 0", "directory.time-limit is not a number of seconds up to 3600"},
      {"time-limit = \"2\"", "directory.time-limit is not a number of seconds up to 3600"},
      {"total-time-limit = inf",
       "directory.total-time-limit is not a number of seconds up to 3600"},
      {"page-size = 0", "directory.page-size is not a number from 1 to 100000"},
      {"follow-referrals = 1", "directory.follow-referrals is neither true nor false"},
      {"users = 1", "directory.users is not a table of attributes"},
      {"users = { FullName = \"cn)(x=*\" }", "directory.users.FullName is not an LDAP attribute"},
      {"when-away = \"allow\"", "directory.when-away is none of refuse, ignore"},
      {"when-away = false", "directory.when-away is not a text"},
      {"password = \"x\"", "directory.password is not a setting; did you mean base?"},
      {"servrs = [\"ldap://x\"]", "directory.servrs is not a setting; did you mean servers?"}};
  for (const auto& [line, fault] : wrong) {
    Strings lines{"name = \"bad\"", "servers = [\"ldap://x\"]", "base = \"dc=x\""};
    const auto key = line.substr(0, line.find(' '));
    std::erase_if(lines, [&](const auto& each) { return each.starts_with(key + " "); });
    std::string text = "[[directory]]\n" + line + "\n";
    for (const auto& each : lines) text += each + "\n";
    Machine other;
    std::swap(machine.options, other.options);
    const auto before = machine.log.lines().size();
    EXPECT_THAT(namesIn(text + std::string(kGood)), ElementsAre("good")) << line;
    std::swap(machine.options, other.options);
    const auto logged = machine.log.lines();
    const Strings added(logged.begin() + static_cast<std::ptrdiff_t>(before), logged.end());
    EXPECT_THAT(added, ElementsAre(HasSubstr(fault))) << line;
    ASSERT_EQ(unusable.size(), 1U) << line;
    EXPECT_EQ(unusable.front().place, std::string(kFile) + ":1");
    EXPECT_EQ(unusable.front().fault, added.front());
  }
}

TEST_F(LdapSettingsFile, TakesNamesOfUpTo64Characters) {
  const auto tableOf = [](const std::string& name) {
    return "[[directory]]\nname = \"" + name + "\"\nservers = [\"ldap://x\"]\nbase = \"dc=x\"\n";
  };
  const std::string longest(64, 'x');
  EXPECT_THAT(namesIn(tableOf(longest)), ElementsAre(longest));
  EXPECT_THAT(namesIn(tableOf(longest + "x")), IsEmpty());
}

TEST_F(LdapSettingsFile, NamesTheLineOfAFault) {
  EXPECT_THAT(namesIn("[[directory]]\nname = \"bad\"\n\nservers = [\n \"ldap://x\",\n 7]\n" +
                      std::string(kGood)),
              ElementsAre("good"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(at(6, "directory.servers holds what is no ldap, ldaps or ldapi URI")));
}

TEST_F(LdapSettingsFile, HasNoUseForTheSecondOfTwoOfOneName) {
  EXPECT_THAT(namesIn(std::string(kGood) + std::string(kGood)), ElementsAre("good"));
  EXPECT_THAT(machine.log.lines(), ElementsAre(at(5, "the second directory good")));
  EXPECT_EQ(unusable.at(0).fault, at(5, "the second directory good"));
}

TEST_F(LdapSettingsFile, SaysWhatElseIsNoSetting) {
  EXPECT_THAT(namesIn("colour = 1\n" + std::string(kGood)), ElementsAre("good"));
  const auto colour = at(1, "colour is not a setting; did you mean local?");
  EXPECT_THAT(machine.log.lines(), ElementsAre(colour));
  EXPECT_EQ(unusable.at(0).fault, colour);
  EXPECT_THAT(namesIn("[[direktory]]\nname = \"x\"\n"), IsEmpty());
  EXPECT_EQ(unusable.at(0).fault, at(1, "direktory is not a setting; did you mean directory?"));
  EXPECT_THAT(namesIn("[directory]\nname = \"x\"\n"), IsEmpty());
  EXPECT_THAT(unusable.at(0).fault, HasSubstr("directory is not a list of tables"));
  EXPECT_THAT(namesIn("directory = [5]\n"), IsEmpty());
  EXPECT_EQ(unusable.at(0).fault, at(1, "a directory is no table"));
}

TEST_F(LdapSettingsFile, IsReadOnceForTheWholeDirectory) {
  machine.write(kFile, "[[directory]\n");
  EXPECT_EQ(machine.search()->subnodeNames(), (Strings{"local", "unix", std::string(kFile)}));
  EXPECT_EQ(machine.group("admin")->valuesForAttribute("GroupMembership"), Strings{"root"});
  EXPECT_EQ(machine.log.lines().size(), 1U) << "one fault, one line";
}

TEST_F(LdapSettingsFile, ThatCannotBeUsedFailsWhatOnlyADirectoryCouldAnswer) {
  const auto readable = "[[directory]]\n" + std::string(kGood).substr(14);
  const std::vector<std::pair<std::string, std::string>> wrong{
      {"[[directory]\n", std::string(kFile) + ":1"},
      {readable + "servrs = []\n", std::string(kFile) + ":5"},
      {readable + "when-away = \"yes\"\n", std::string(kFile) + ":5"},
      {"[[direktory]]\n", std::string(kFile) + ":1"}};
  for (const auto& [text, place] : wrong) {
    Machine other;
    other.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/sh\n");
    other.write(kFile, text);
    const auto ask = [&](const char* name) {
      return other.search()
          ->query({{"Users"}, "RecordName", MatchType::EqualTo, {name}, {}, 0})
          ->results(false)
          ->size();
    };
    EXPECT_EQ(ask("ann"), 1U);
    EXPECT_THAT([&] { ask("dana"); }, testing::ThrowsMessage<PlatformException>(HasSubstr(place)))
        << text;
    EXPECT_EQ(other.search()->unreachableSubnodeNames()->size(), 1U);
  }
}

TEST_F(LdapSettingsFile, SetsACertificateWithItsKeyAndWhatItIsFor) {
  const std::string good(kGood);
  const std::string shown = "certificate = \"/host.pem\"\nkey = \"/host.key\"\n";
  auto settings = read(good + shown).at(0);
  EXPECT_EQ(settings.certificateFile, "/host.pem");
  EXPECT_EQ(settings.keyFile, "/host.key");
  EXPECT_FALSE(settings.bindsByCertificate);
  EXPECT_TRUE(read(good + shown + "sasl-mechanism = \"EXTERNAL\"\n").at(0).bindsByCertificate);
  const auto expectFault = [&](const std::string& more, const std::string& fault) {
    EXPECT_THAT(namesIn(good + more), IsEmpty()) << more;
    ASSERT_EQ(unusable.size(), 1U) << more;
    EXPECT_THAT(unusable.front().fault, HasSubstr(fault)) << more;
  };
  expectFault("certificate = \"/host.pem\"\n", "directory.key is missing");
  expectFault("key = \"/host.key\"\n", "directory.certificate is missing");
  expectFault("certificate = \"host.pem\"\nkey = \"/host.key\"\n", "directory.certificate");
  expectFault("sasl-mechanism = \"EXTERNAL\"\n", "directory.sasl-mechanism needs a certificate");
  expectFault(shown + "sasl-mechanism = \"GSSAPI\"\n", "is none of EXTERNAL");
  expectFault(shown + "tls = \"off\"\n", "directory.certificate needs TLS");
  auto socket = good;
  socket.replace(socket.find("ldaps://ldap.example.org"), 24, "ldapi://%2Frun%2Fx");
  EXPECT_THAT(namesIn(socket), ElementsAre("good"));
  EXPECT_THAT(namesIn(socket + shown), IsEmpty());
  expectFault(shown +
                  "sasl-mechanism = \"EXTERNAL\"\nbind-dn = \"cn=x\"\n"
                  "bind-password-file = \"/x\"\n",
              "directory.sasl-mechanism stands beside bind-dn");
}

}  // namespace gatehall
