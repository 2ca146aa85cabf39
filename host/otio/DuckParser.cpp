// SPDX-License-Identifier: MIT
#include "host/otio/DuckParser.h"

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

std::optional<DuckRequest> ParseDuck(const Json& value, const SourceLocation& place,
                                     ImportReport& report) {
    const auto skip = [&](const std::string& why) {
        report.Add("duck", place, why + "; it is skipped");
        return std::nullopt;
    };
    if (!value.IsObject()) return skip("it is not an object");
    DuckRequest request;
    request.place = place;
    request.by = StringMember(value, "by");
    if (request.by.empty()) return skip("its \"by\" does not name the other track");
    for (const auto& [key, member] : value.AsObject()) {
        if (key == "by") continue;
        if (key != "parameters") return skip("its " + Quoted(OneLine(key)) + " is unknown");
        if (!member.IsObject()) return skip("its parameters are not an object");
        for (const auto& [name, parameter] : member.AsObject()) {
            if (!parameter.IsNumber())
                return skip("its " + OneLine(name) + " is not a finite number");
            request.parameters.emplace(name, parameter.AsNumber());
        }
    }
    return request;
}

}  // namespace orlo::host::otio
