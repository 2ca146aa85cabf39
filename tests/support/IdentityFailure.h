// SPDX-License-Identifier: MIT
#pragma once

namespace sonrel_tests {

/// Failures of the system while it makes an identity.
enum class IdentityFailure : int {
    None = 0,
    Create = 1,  ///< the system returns no random bytes
    Text = 2     ///< the text cannot be formed
};

/// Sets the failure for every thread until it is set again. The program links
/// SonrelIdentityFailure.
void SetIdentityFailure(IdentityFailure failure);

}  // namespace sonrel_tests
