/// The options that all commands have which start an engine: on which device, with which tables.
/// Kept by the command set; used on main's thread.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

#include "engine_session.h"

namespace corebeacon::tool {

struct SessionArguments {
    std::string device = "sim";
    std::string boardFile;
    std::optional<unsigned> chip;
    unsigned logSwitch = 0;

    void AddTo(CLI::App& command);
    /// Nothing when the board or the snapshot cannot be read, which `diagnostics` are told.
    std::optional<SessionOptions> Options(std::ostream& diagnostics) const;
};

/// `chip` is a number, or an optional one.
template <typename Number>
void AddChip(CLI::App& command, Number& chip, const std::string& unlessGiven) {
    command.add_option("--chip", chip, "chip variant, 0 to 2; " + unlessGiven)
        ->check(CLI::Range(0U, kChipCount - 1).description(""))
        ->type_name("N");
}

/// For every command that prints something.
CLI::Option* AddJson(CLI::App& command, bool& isJson);

/// The end of a command's help: the words behind the program's name of a call that works.
std::string Example(const std::string& words);

void AddDevice(CLI::App& command, std::string& word, const std::string& help);

struct DeviceChoice {
    DeviceKind kind = DeviceKind::SIM;
    std::shared_ptr<const DeviceSnapshot> snapshot;  ///< of DeviceKind::SNAPSHOT
};

/// Of "sim", "kernel" and the file of a snapshot; nothing when that cannot be read, which
/// `diagnostics` are told.
std::optional<DeviceChoice> DeviceOf(const std::string& word, std::ostream& diagnostics);

}  // namespace corebeacon::tool
