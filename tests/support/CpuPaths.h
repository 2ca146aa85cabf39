// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sonrel/cpu/CpuPath.h"

namespace orlo::sonrel::test {

/// The paths that this processor supports, the baseline first.
inline std::vector<detail::CpuPath> AvailableCpuPaths() {
    std::vector<detail::CpuPath> paths;
    for (const auto path :
         {detail::CpuPath::Baseline, detail::CpuPath::Avx2, detail::CpuPath::Avx512}) {
        if (path <= detail::BestCpuPath()) paths.push_back(path);
    }
    return paths;
}

inline std::string CpuPathName(const testing::TestParamInfo<detail::CpuPath>& info) {
    switch (info.param) {
        case detail::CpuPath::Baseline:
            return "Baseline";
        case detail::CpuPath::Avx2:
            return "Avx2";
        case detail::CpuPath::Avx512:
            return "Avx512";
    }
    return "Unknown";
}

/// A fixture whose tests run on every path of the processor.
class OnEveryCpuPath : public testing::TestWithParam<detail::CpuPath> {
protected:
    void SetUp() override { ASSERT_TRUE(detail::ForceCpuPath(GetParam())); }
    void TearDown() override { detail::ForceCpuPath(std::nullopt); }
};

}  // namespace orlo::sonrel::test

/// Runs the tests of a fixture derived from OnEveryCpuPath.
#define SONREL_ON_EVERY_CPU_PATH(Fixture)                                                  \
    INSTANTIATE_TEST_SUITE_P(Path, Fixture,                                                \
                             testing::ValuesIn(::orlo::sonrel::test::AvailableCpuPaths()), \
                             ::orlo::sonrel::test::CpuPathName)
