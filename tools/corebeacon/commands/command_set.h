/// The subcommands of the program. Each comes in a pair of files of its own, which declares its
/// options and says what to do once they are parsed. Made by main and used on its thread; whatever
/// the options are parsed into lives as long as the set.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace corebeacon::tool {

class CommandSet {
public:
    /// Returns the program's exit code.
    using Action = std::function<int()>;

    explicit CommandSet(CLI::App& app) : mApp(app) {}

    CLI::App& App() { return mApp; }

    /// Options to parse into, at an address that stays.
    template <typename Options>
    Options& Keep() {
        auto options = std::make_shared<Options>();
        mKept.push_back(options);
        return *options;
    }

    /// `command` may be a subcommand of a subcommand.
    void Add(const CLI::App& command, Action action) {
        mCommands.emplace_back(&command, std::move(action));
    }

    /// Does what the one command that was parsed says.
    int Run() const {
        for (const auto& [command, action] : mCommands) {
            if (command->parsed()) {
                return action();
            }
        }
        return 0;
    }

private:
    CLI::App& mApp;
    std::vector<std::shared_ptr<void>> mKept;
    std::vector<std::pair<const CLI::App*, Action>> mCommands;
};

}  // namespace corebeacon::tool
