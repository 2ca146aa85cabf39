// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::sonrel::bench {

void AddResamplerCases();
void AddConverterCases();
void AddMixCases();

}  // namespace orlo::sonrel::bench
