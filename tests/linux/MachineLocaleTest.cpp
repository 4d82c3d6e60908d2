#include <gtest/gtest.h>

#include "linux/MachineLocale.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

TEST(MachineLocale, IsEmptyWhenNoFileSaysOne) {
  const Machine machine;
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "");
}

TEST(MachineLocale, PrefersTheSettingThatOverridesOthers) {
  const Machine machine;
  machine.write("/etc/locale.conf", "LANG=de_DE.UTF-8\n");
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "de_DE.UTF-8");
  machine.write("/etc/locale.conf", "# ours\nLANG=de_DE.UTF-8\nLC_COLLATE=\"sv_SE.UTF-8\"\n");
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "sv_SE.UTF-8");
  machine.write("/etc/locale.conf", "LANG=de\nLC_ALL='fi_FI'\r\nLC_COLLATE=sv");
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "fi_FI");
}

TEST(MachineLocale, IsDebiansWhereThereIsNoOther) {
  const Machine machine;
  machine.write("/etc/default/locale", "LANG=\"nb_NO.UTF-8\"\n");
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "nb_NO.UTF-8");
  machine.write("/etc/locale.conf", "LC_ALL=\n");
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "nb_NO.UTF-8");
}

TEST(MachineLocale, IsNotTheEnvironments) {
  const Machine machine;
  setenv("LC_COLLATE", "de_DE.UTF-8", 1);
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "");
  unsetenv("LC_COLLATE");
}

TEST(MachineLocale, SurvivesAnyBytes) {
  const Machine machine;
  machine.write("/etc/locale.conf", std::string("\0=\xFF\n===\nLANG\n\n\"\nLANG=\"\n", 22));
  EXPECT_EQ(machineLocale(machine.options, "LC_COLLATE"), "");
}

}  // namespace
}  // namespace gatehall
