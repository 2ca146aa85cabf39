// SPDX-License-Identifier: MIT
// libpq of a shared library, in a module that is loaded at the first use.
#include "sonrel/database/detail/LibpqLibrary.h"
#include "sonrel/files/Module.h"

namespace orlo::project::libpq {

const LibpqFunctions* FindLibpqFunctions(std::string* failure) {
    return files::LoadModule<LibpqFunctions>(reinterpret_cast<const void*>(&FindLibpqFunctions),
                                             SONREL_MODULE_FOLDER "/postgresql.so",
                                             "SonrelLibpqFunctions", failure);
}

}  // namespace orlo::project::libpq
