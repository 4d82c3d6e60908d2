#include "linux/nss/Sssd.h"
#include "tests/linux/bus/fixture/PrivateBus.h"
#include "tests/linux/nss/fixture/NameServiceMachine.h"

namespace gatehall {
namespace {

/// A machine of SSSD's, on a bus of its own.
class NssSssd : public testing::Test {
 protected:
  NssSssd() {
    machine.options.systemBusAddress = bus.address();
    machine.write("/etc/nsswitch.conf", "passwd: files sss\ngroup: files sss\n");
  }
  std::optional<bool> isFromCache() { return machine.network()->reach().isFromCache; }

  PrivateBus bus;
  NameServiceMachine machine;
};

}  // namespace

TEST_F(NssSssd, AnswersFromItsCacheWhileOneOfItsDomainsIsOffline) {
  bus.start({"sssd=online"});
  EXPECT_EQ(isFromCache(), false);
  bus.calls();
  bus.start({"sssd=offline"});
  EXPECT_EQ(isFromCache(), true);
}

TEST_F(NssSssd, IsNotSpokenForWhereNobodyCanTell) {
  EXPECT_EQ(isFromCache(), std::nullopt);
  for (const auto* behaviour : {"refusing", "nonsense"}) {
    bus.start({std::string("sssd=") + behaviour});
    EXPECT_EQ(isFromCache(), std::nullopt) << behaviour;
    bus.calls();
  }
}

TEST_F(NssSssd, IsAskedOnlyWhereItIsOneOfTheServices) {
  bus.start({"sssd=offline"});
  machine.write("/etc/nsswitch.conf", "passwd: files winbind\ngroup: files winbind\n");
  EXPECT_EQ(isFromCache(), std::nullopt);
}

}  // namespace gatehall
