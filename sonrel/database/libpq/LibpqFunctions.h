// SPDX-License-Identifier: MIT
#pragma once

#include <libpq-fe.h>

#include "sonrel/base/Export.h"

/// The functions of libpq that the media database calls, one line each. A call of a function that
/// is missing here does not link.
// clang-format off
#define SONREL_LIBPQ_FUNCTIONS(USE) \
    USE(PQclear)                    \
    USE(PQcmdTuples)                \
    USE(PQconnectdbParams)          \
    USE(PQconninfoFree)             \
    USE(PQconninfoParse)            \
    USE(PQerrorMessage)             \
    USE(PQexec)                     \
    USE(PQexecParams)               \
    USE(PQfinish)                   \
    USE(PQfreemem)                  \
    USE(PQftype)                    \
    USE(PQgetisnull)                \
    USE(PQgetlength)                \
    USE(PQgetvalue)                 \
    USE(PQntuples)                  \
    USE(PQresultErrorField)         \
    USE(PQresultStatus)             \
    USE(PQserverVersion)            \
    USE(PQsetNoticeProcessor)       \
    USE(PQstatus)
// clang-format on

namespace orlo::project::libpq {

/// The addresses of the functions.
struct LibpqFunctions {
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define SONREL_FIELD(name) decltype(&::name) name;
    SONREL_LIBPQ_FUNCTIONS(SONREL_FIELD)
#undef SONREL_FIELD
};

}  // namespace orlo::project::libpq

/// The functions of the libpq that this object is linked with: the only export of the module
/// `postgresql.so`, which alone links libpq, and a part of a program that links the project library
/// statically.
extern "C" SONREL_EXPORT const orlo::project::libpq::LibpqFunctions* SonrelLibpqFunctions();
