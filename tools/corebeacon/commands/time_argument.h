/// An option that takes a time, 500ms or 2s, as scripts do. Used on main's thread.
#pragma once

#include <chrono>
#include <string>

#include <CLI/CLI.hpp>

#include "script_values.h"

namespace corebeacon::tool {

/// `time` must live until the command line is parsed.
inline CLI::Option* AddTime(CLI::App& command, const std::string& name,
                            std::chrono::milliseconds& time, const std::string& description) {
    return command
        .add_option_function<std::string>(
            name,
            [name, &time](const std::string& word) {
                ErrorList errors;
                const auto parsed = ParseTime({word, {}}, name, errors);
                if (!parsed) {
                    throw CLI::ValidationError(errors.Take().front().message);
                }
                time = *parsed;
            },
            description)
        ->type_name("TIME");
}

}  // namespace corebeacon::tool
