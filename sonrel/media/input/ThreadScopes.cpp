// SPDX-License-Identifier: MIT
#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media::detail {

ThreadScopes& ThreadScopes::Current() {
    thread_local ThreadScopes scopes;
    return scopes;
}

}  // namespace zrh::media::detail
