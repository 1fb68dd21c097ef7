#include "commands/command_line_completion.h"

#include <algorithm>
#include <string_view>

#include "script_completion.h"

namespace corebeacon::tool {

namespace {

/// Whoever is left out of the help is left out here.
bool IsHidden(const CLI::App& command) {
    return command.get_group().empty();
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command) {
    return command.get_options([](const CLI::Option* option) {
        return option->nonpositional() && !option->get_group().empty();
    });
}

std::vector<const CLI::Option*> PositionalsOf(const CLI::App& command) {
    return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::string WordOf(const CLI::Option& option) {
    const std::vector<std::string>& longNames = option.get_lnames();
    return longNames.empty() ? "-" + option.get_snames().front() : "--" + longNames.front();
}

const CLI::Option* FindOption(const CLI::App& command, const std::string& word) {
    for (const CLI::Option* option : command.get_options()) {
        if (option->nonpositional() && option->check_name(word)) {
            return option;
        }
    }
    return nullptr;
}

bool TakesValue(const CLI::Option* option) {
    return option != nullptr && option->get_expected_max() > 0;
}

/// Reads the words before the last as the parser would, as far as they make sense.
class Reading {
public:
    explicit Reading(const CLI::App& app) : mCommand(&app) {}

    void Take(const std::string& word) {
        if (mIsValueNext) {
            mIsValueNext = false;
            mOption = nullptr;
        } else if (!mIsPositionalOnly && word == "--") {
            mIsPositionalOnly = true;
        } else if (!mIsPositionalOnly && word.starts_with('-')) {
            mOption = FindOption(*mCommand, word.substr(0, word.find('=')));
            mIsValueNext = TakesValue(mOption) && word.find('=') == std::string::npos;
            mGiven.push_back(mOption);
        } else if (const CLI::App* const below = Below(word); below != nullptr) {
            mCommand = below;
        } else {
            ++mPositionals;
        }
    }

    const CLI::App& Command() const { return *mCommand; }
    /// Whose value the next word is, null for none.
    const CLI::Option* Pending() const { return mIsValueNext ? mOption : nullptr; }
    bool MayBeOption() const { return !mIsPositionalOnly; }
    bool IsGiven(const CLI::Option* option) const {
        return std::ranges::find(mGiven, option) != mGiven.end();
    }
    /// What the next word without a dash stands for, null for nothing.
    const CLI::Option* NextPositional() const {
        const std::vector<const CLI::Option*> all = PositionalsOf(*mCommand);
        if (mPositionals < all.size()) {
            return all[mPositionals];
        }
        return !all.empty() && all.back()->get_items_expected_max() > 1 ? all.back() : nullptr;
    }

private:
    const CLI::App* Below(const std::string& word) const {
        for (const CLI::App* command : mCommand->get_subcommands({})) {
            if (command->check_name(word)) {
                return command;
            }
        }
        return nullptr;
    }

    const CLI::App* mCommand;
    const CLI::Option* mOption = nullptr;
    std::vector<const CLI::Option*> mGiven;
    std::size_t mPositionals = 0;
    bool mIsValueNext = false;
    bool mIsPositionalOnly = false;
};

/// Adds what begins as the word at hand does.
class Collector {
public:
    Collector(std::string_view word, Completion& completion)
        : mWord(word), mCompletion(completion) {}

    void Add(const std::string& word, const std::string& description) {
        if (word.starts_with(mWord)) {
            mCompletion.candidates.push_back({word, description});
        }
    }
    void AddSubcommands(const CLI::App& command) {
        for (const CLI::App* below : command.get_subcommands({})) {
            if (!IsHidden(*below)) {
                Add(below->get_name(), below->get_description());
            }
        }
    }
    void AddOptions(const Reading& reading) {
        for (const CLI::Option* option : OptionsOf(reading.Command())) {
            if (!reading.IsGiven(option)) {
                Add(WordOf(*option), option->get_description());
            }
        }
    }
    /// `before` is the part of the word that belongs to the option.
    void AddValues(const CLI::Option& option, const std::string& before) {
        const std::string kind =
            option.get_positional() ? option.get_name(true) : option.get_type_name();
        const std::string value(mWord.substr(before.size()));
        if (kind == "DEVICE") {
            Add(before + "sim", "the simulated device");
            Add(before + "kernel", "the running kernel's own nodes");
            mCompletion.takesFile = true;  // of a snapshot
        } else if (kind == "STATEMENT") {
            const std::string line = value.substr(0, value.size() - LastWordOf(value).size());
            for (const std::string& word : CompleteScript(value, BuiltinWords(0))) {
                Add(line + word, "");
            }
        } else if (kind == "TARGET") {
            for (const ScriptQos& qos : BuiltinWords(0).qos) {
                Add(qos.name, "");
            }
        } else if (kind == "FILE" || kind == "SCRIPT" || kind == "BOARD" || kind == "RECORDING") {
            mCompletion.takesFile = true;
        }
    }

private:
    const std::string_view mWord;
    Completion& mCompletion;
};

}  // namespace

Completion CompleteCommandLine(const CLI::App& app, const std::vector<std::string>& words) {
    Completion completion;
    if (words.empty()) {
        return completion;
    }
    Reading reading(app);
    std::for_each(words.begin(), words.end() - 1,
                  [&reading](const std::string& word) { reading.Take(word); });
    const std::string& word = words.back();
    Collector collector(word, completion);
    const std::size_t equals = word.find('=');
    if (const CLI::Option* const option = reading.Pending(); option != nullptr) {
        collector.AddValues(*option, "");
    } else if (reading.MayBeOption() && word.starts_with("--") && equals != std::string::npos) {
        const CLI::Option* const named = FindOption(reading.Command(), word.substr(0, equals));
        if (TakesValue(named)) {
            collector.AddValues(*named, word.substr(0, equals + 1));
        }
    } else if (reading.MayBeOption() && word.starts_with('-')) {
        collector.AddOptions(reading);
    } else {
        collector.AddSubcommands(reading.Command());
        if (const CLI::Option* const positional = reading.NextPositional()) {
            collector.AddValues(*positional, "");
        }
    }
    return completion;
}

}  // namespace corebeacon::tool
