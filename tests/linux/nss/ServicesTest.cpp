#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "linux/files/FileDescriptor.h"
#include "linux/nss/Services.h"
#include "tests/linux/Machine.h"

namespace gatehall::nss {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

}  // namespace

TEST(NssServices, AreThoseBeyondTheFilesOfPasswdAndGroup) {
  EXPECT_THAT(
      networkServices("passwd: files sss # ldap\n\tgroup:\tcompat[SUCCESS=merge]winbind sss\n"
                      "shadow: nis\nhosts: dns\npasswd_compat: nis\n"),
      ElementsAre("sss", "winbind"));
  EXPECT_THAT(networkServices("passwd: files db [!UNAVAIL=return"), IsEmpty());
  EXPECT_THAT(networkServices(""), IsEmpty());
}

TEST(NssServices, AreThoseOfWhichTheGroupsOfAUserAreAsked) {
  EXPECT_THAT(networkServices("initgroups: files ldap\npasswd: sss\ngroup: sss\n"),
              ElementsAre("sss", "ldap"));
}

TEST(NssServices, AreReadAsTheCLibraryReadsThem) {
  EXPECT_THAT(networkServices("passwd : files sss\r\n\fgroup\t:winbind\vldap\r\n"),
              ElementsAre("sss", "winbind", "ldap"));
  EXPECT_THAT(networkServices("passwd: nis\npasswd: sss\n"), ElementsAre("sss")) << "the last";
  EXPECT_THAT(networkServices("passwds: nis\npasswd\n: sss\n# group: sss\nGROUP: sss\n"),
              IsEmpty());
}

TEST(NssServices, AreSilentWhereNobodyTakesAConnection) {
  Machine machine;
  EXPECT_EQ(whySilent({"systemd", "files"}, machine.options.root), "");
  EXPECT_THAT(whySilent({"systemd", "sss"}, machine.options.root),
              HasSubstr("sss has nobody who answers at /var/lib/sss/pipes/nss: No such file"));
  std::filesystem::create_directories(machine.path("/var/lib/sss/pipes"));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  machine.path("/var/lib/sss/pipes/nss").copy(address.sun_path, sizeof address.sun_path - 1);
  const FileDescriptor daemon(socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(bind(daemon.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_THAT(whySilent({"sss"}, machine.options.root), HasSubstr("Connection refused"));
  ASSERT_EQ(listen(daemon.number(), 1), 0);
  EXPECT_EQ(whySilent({"sss"}, machine.options.root), "");
}

}  // namespace gatehall::nss
