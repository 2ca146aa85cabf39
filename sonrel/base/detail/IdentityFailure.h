// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::project {

/// Faults that tests put into the making of identities.
enum class IdentityFailure : int {
    None = 0,
    Create = 1,  ///< the system gives no random bytes
    Text = 2     ///< the text form cannot be made
};

/// Sets the fault for every thread of the process until it is set again.
void SetIdentityFailure(IdentityFailure failure);

}  // namespace orlo::project
