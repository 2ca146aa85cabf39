// SPDX-License-Identifier: MIT
#include "host/process/Cores.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <filesystem>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

/// A folder with the files of control groups.
class ControlGroups : public testing::Test {
protected:
    void Write(const std::string& name, const std::string& text) {
        const std::filesystem::path path = folder_ / name;
        std::filesystem::create_directories(path.parent_path());
        sonrel_tests::WriteFile(path, text);
    }
    int Cores(const std::string& groups) const {
        return CoresOfControlGroups((folder_ / "").parent_path().string(), groups);
    }

    sonrel_tests::TemporaryFolder folder_;
};

TEST_F(ControlGroups, WithoutFilesLimitNothing) {
    EXPECT_EQ(Cores("0::/user.slice/job\n"), 0);
    EXPECT_EQ(Cores(""), 0);
}

TEST_F(ControlGroups, OfVersionTwoLimitTheCoresRoundedUp) {
    Write("job/cpu.max", "250000 100000\n");

    EXPECT_EQ(Cores("0::/job\n"), 3);
}

TEST_F(ControlGroups, WithLessThanACoreLeaveOne) {
    Write("job/cpu.max", "10000 100000\n");

    EXPECT_EQ(Cores("0::/job\n"), 1);
}

TEST_F(ControlGroups, OfWhichAParentHasTheSmallestLimitTakeIt) {
    Write("batch/cpu.max", "200000 100000\n");
    Write("batch/job/cpu.max", "max 100000\n");
    Write("batch/job/step/cpu.max", "800000 100000\n");

    EXPECT_EQ(Cores("0::/batch/job/step\n"), 2);
}

TEST_F(ControlGroups, OfAContainerAreThoseOfItsMount) {
    Write("cpu.max", "400000 100000\n");

    EXPECT_EQ(Cores("0::/\n"), 4);
}

TEST_F(ControlGroups, OfVersionOneLimitTheCores) {
    Write("cpu,cpuacct/job/cpu.cfs_quota_us", "150000\n");
    Write("cpu,cpuacct/job/cpu.cfs_period_us", "50000\n");

    EXPECT_EQ(Cores("5:memory:/other\n4:cpu,cpuacct:/job\n"), 3);
}

TEST_F(ControlGroups, OfVersionOneWithANegativeQuotaLimitNothing) {
    Write("cpu/job/cpu.cfs_quota_us", "-1\n");
    Write("cpu/job/cpu.cfs_period_us", "100000\n");

    EXPECT_EQ(Cores("4:cpu:/job\n"), 0);
}

TEST(AvailableCores, AreNoMoreThanTheAffinityOfTheProcess) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof(before), &before), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int cpu = 0; CPU_COUNT(&one) == 0; ++cpu) {
        if (CPU_ISSET(cpu, &before)) CPU_SET(cpu, &one);
    }
    ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);

    EXPECT_EQ(AvailableCores(), 1);

    sched_setaffinity(0, sizeof(before), &before);
}

}  // namespace
}  // namespace orlo::host
