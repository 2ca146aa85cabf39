// SPDX-License-Identifier: MIT
#include "host/program/MediaLog.h"

#include <cstdarg>
#include <cstdio>
#include <string>

extern "C" {
#include <libavutil/log.h>
}

#include "host/shell/LibraryMessage.h"

namespace orlo::host {

namespace {

void KeepError(void*, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR) return;
    char text[256];
    std::vsnprintf(text, sizeof(text), format, arguments);
    std::string message = text;
    while (message.ends_with('\n')) message.pop_back();
    StoreLibraryMessage(message);
}

}  // namespace

void KeepMediaMessages() {
    av_log_set_callback(KeepError);
}

}  // namespace orlo::host
