#include "line_editor.h"

#include <histedit.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <utility>

#include "interruption.h"
#include "platform/clock.h"
#include "script_completion.h"
#include "text_table.h"

namespace corebeacon::tool {

namespace {

constexpr int kHistoryLines = 1000;
constexpr std::size_t kUsualWidth = 80;

std::size_t TerminalWidth() {
    winsize size{};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : kUsualWidth;
}

/// For poll; -1 waits without end. Rounded up: news are there once the time has come.
int MillisUntil(const std::optional<TimePoint>& time) {
    using std::chrono::milliseconds;
    if (!time) {
        return -1;
    }
    const auto left = std::chrono::ceil<milliseconds>(*time - SteadyNow());
    constexpr milliseconds kLongest{3'600'000};
    return static_cast<int>(std::clamp(left, milliseconds(0), kLongest).count());
}

bool IsWhole(const std::string& word) {
    return !word.ends_with('.') && !word.ends_with('=');
}

}  // namespace

std::string CommonBeginning(const std::vector<std::string>& candidates) {
    if (candidates.empty()) {
        return "";
    }
    std::string common = candidates.front();
    for (const std::string& candidate : candidates) {
        const auto [end, ignored] = std::ranges::mismatch(common, candidate);
        common.erase(end, common.end());
    }
    return common;
}

std::string InColumns(const std::vector<std::string>& candidates, std::size_t width) {
    constexpr std::size_t kGap = 2;
    std::size_t widest = 0;
    for (const std::string& candidate : candidates) {
        widest = std::max(widest, candidate.size());
    }
    const std::size_t columns = std::max<std::size_t>(1, (width + kGap) / (widest + kGap));
    const std::size_t lines = (candidates.size() + columns - 1) / columns;
    std::string text;
    for (std::size_t line = 0; line < lines; ++line) {
        std::string row;
        for (std::size_t i = line; i < candidates.size(); i += lines) {
            row += Padded(candidates[i], widest + kGap);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        text += row + "\n";
    }
    return text;
}

std::string HistoryFile() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') {
        return std::string(state) + "/corebeacon/history";
    }
    const char* const home = std::getenv("HOME");
    return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/corebeacon/history"
                                           : "";
}

/// Behind the header, so that libedit's names stay here.
class LineEditor::Terminal {
public:
    Terminal(std::string prompt, std::string historyFile, Hooks hooks);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    Answer Read(std::string& line);

private:
    static Terminal& Of(EditLine* edit);
    static char* Prompt(EditLine* edit) { return Of(edit).mPrompt.data(); }
    static int OnRead(EditLine* edit, wchar_t* letter) { return Of(edit).ReadLetter(*letter); }
    static unsigned char OnTab(EditLine* edit, int /*key*/) { return Of(edit).Complete(); }

    void Bind();
    void LoadHistory();
    void SaveHistory();
    int ReadLetter(wchar_t& letter);
    bool AwaitByte();
    unsigned char Complete();
    void TellNews();
    std::string BeforeCursor() const;

    std::string mPrompt;
    const std::string mHistoryFile;
    const Hooks mHooks;
    EditLine* mEdit = nullptr;
    History* mHistory = nullptr;
};

LineEditor::Terminal::Terminal(std::string prompt, std::string historyFile, Hooks hooks)
    : mPrompt(std::move(prompt)),
      mHistoryFile(std::move(historyFile)),
      mHooks(std::move(hooks)),
      mEdit(::el_init("corebeacon", stdin, stdout, stderr)),
      mHistory(::history_init()) {
    HistEvent event{};
    ::history(mHistory, &event, H_SETSIZE, kHistoryLines);
    ::history(mHistory, &event, H_SETUNIQUE, 1);
    LoadHistory();
    Bind();
}

LineEditor::Terminal::~Terminal() {
    SaveHistory();
    ::history_end(mHistory);
    ::el_end(mEdit);
}

void LineEditor::Terminal::Bind() {
    ::el_set(mEdit, EL_CLIENTDATA, this);
    ::el_set(mEdit, EL_PROMPT, &Terminal::Prompt);
    ::el_set(mEdit, EL_EDITOR, "emacs");
    ::el_set(mEdit, EL_HIST, &::history, mHistory);
    // In wide letters: of narrow ones libedit makes copies that it never frees.
    ::el_wset(mEdit, EL_ADDFN, L"complete-word", L"completes the word at the cursor",
              &Terminal::OnTab);
    ::el_set(mEdit, EL_BIND, "^I", "complete-word", nullptr);
    ::el_set(mEdit, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    ::el_set(mEdit, EL_GETCFN, &Terminal::OnRead);
    ::el_source(mEdit, nullptr);  // the user's own keys, ~/.editrc
}

LineEditor::Terminal& LineEditor::Terminal::Of(EditLine* edit) {
    void* terminal = nullptr;
    ::el_get(edit, EL_CLIENTDATA, &terminal);
    return *static_cast<Terminal*>(terminal);
}

void LineEditor::Terminal::LoadHistory() {
    if (mHistoryFile.empty()) {
        return;
    }
    HistEvent event{};
    ::history(mHistory, &event, H_LOAD, mHistoryFile.c_str());  // none yet is no harm
}

/// A history that cannot be kept is no reason to trouble anybody.
void LineEditor::Terminal::SaveHistory() {
    if (mHistoryFile.empty()) {
        return;
    }
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(mHistoryFile).parent_path(), ignored);
    const mode_t former = ::umask(S_IRWXG | S_IRWXO);  // commands are nobody else's business
    HistEvent event{};
    ::history(mHistory, &event, H_SAVE, mHistoryFile.c_str());
    ::umask(former);
}

LineEditor::Answer LineEditor::Terminal::Read(std::string& line) {
    // Before the prompt shows: libedit does so after it, and what is typed between would be lost.
    ::el_set(mEdit, EL_PREP_TERM, 1);
    int length = 0;
    const char* const text = ::el_gets(mEdit, &length);
    if (TakeCtrlC()) {
        std::fputs("^C\n", stdout);
        std::fflush(stdout);
        return Answer::CANCELLED;
    }
    if (Interruption() != 0 || text == nullptr || length <= 0) {
        return Answer::END;
    }
    line.assign(text, static_cast<std::size_t>(length));
    line.erase(line.find_last_not_of("\r\n") + 1);
    if (line.find_first_not_of(" \t") != std::string::npos) {
        HistEvent event{};
        ::history(mHistory, &event, H_ENTER, line.c_str());
    }
    return Answer::LINE;
}

/// As libedit wants it: 1 with a letter, 0 at the end, -1 with errno.
int LineEditor::Terminal::ReadLetter(wchar_t& letter) {
    std::mbstate_t state{};
    for (;;) {
        char byte = 0;
        if (!AwaitByte()) {
            return -1;
        }
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count <= 0) {
            return static_cast<int>(count);
        }
        const std::size_t used = std::mbrtowc(&letter, &byte, 1, &state);
        if (used <= 1) {
            return 1;
        }
        if (used == static_cast<std::size_t>(-1)) {
            letter = static_cast<unsigned char>(byte);  // no letter of this locale
            return 1;
        }
    }
}

/// False when interrupted. Meanwhile tells the news.
bool LineEditor::Terminal::AwaitByte() {
    while (Interruption() == 0) {
        std::array<pollfd, 2> awaited{
            {{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
             {.fd = InterruptionDescriptor(), .events = POLLIN, .revents = 0}}};
        const int ready = ::poll(awaited.data(), awaited.size(), MillisUntil(mHooks.nextLook()));
        if (ready < 0 && errno != EINTR) {  // it is EINTR also when the window was resized
            return false;
        }
        if (ready > 0 && awaited[1].revents != 0) {
            ForgetInterruptionNews();
        }
        if (ready > 0 && awaited[0].revents != 0) {
            return true;
        }
        if (ready == 0 && mHooks.hasNews()) {
            TellNews();
        }
    }
    errno = EINTR;
    return false;
}

void LineEditor::Terminal::TellNews() {
    // The line may have wrapped; all of it makes room, and is drawn again below.
    const std::size_t cursor = mPrompt.size() + BeforeCursor().size();
    const std::size_t above = cursor / TerminalWidth();
    if (above > 0) {
        std::fprintf(stdout, "\x1b[%zuA", above);
    }
    std::fputs("\r\x1b[J", stdout);
    std::fflush(stdout);
    mHooks.tellNews();
    ::el_set(mEdit, EL_REFRESH);
}

std::string LineEditor::Terminal::BeforeCursor() const {
    const LineInfo* const info = ::el_line(mEdit);
    return {info->buffer, info->cursor};
}

unsigned char LineEditor::Terminal::Complete() {
    const std::string before = BeforeCursor();
    const std::vector<std::string> candidates = mHooks.complete(before);
    if (candidates.empty()) {
        return CC_REFRESH_BEEP;
    }
    std::string rest = CommonBeginning(candidates).substr(LastWordOf(before).size());
    if (candidates.size() == 1 && IsWhole(candidates.front())) {
        rest += ' ';
    }
    if (!rest.empty()) {
        ::el_insertstr(mEdit, rest.c_str());
        return CC_REFRESH;
    }
    std::fputs(("\n" + InColumns(candidates, TerminalWidth())).c_str(), stdout);
    return CC_REDISPLAY;
}

LineEditor::LineEditor(std::string prompt, std::string historyFile, Hooks hooks)
    : mTerminal(std::make_unique<Terminal>(std::move(prompt), std::move(historyFile),
                                           std::move(hooks))) {}

LineEditor::~LineEditor() = default;

LineEditor::Answer LineEditor::Read(std::string& line) {
    return mTerminal->Read(line);
}

}  // namespace corebeacon::tool
