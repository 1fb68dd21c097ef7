/// The account of a run as one JSON document, which docs/json.md describes. Owned by the command
/// that runs and used on the player's thread; it keeps all it is told until it is printed.
#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "json_document.h"
#include "run_observer.h"

namespace corebeacon::tool {

class JsonPrinter : public RunObserver {
public:
    /// `command` and `script` as the user would call them.
    JsonPrinter(std::string_view command, const std::string& script);
    ~JsonPrinter() override;

    void Begin(EngineSession& session, TimePoint begin) override;
    void Note(const Statement& note) override;
    void Asked(TimePoint time, const Statement& statement) override;
    void Accepted(const HeldRequest& held) override;
    void Complained(const Statement& statement, const std::string& text, bool isFailure) override;
    void Ended(TimePoint time, const HeldRequest& held, HowEnded how) override;
    void Written(const NodeWrite& write, bool isRepetition) override;
    void Answered(const std::string& text) override;
    void End(const std::map<std::string, std::string>& values,
             const std::vector<HeldRequest>& standing) override;

    /// Whether there is anything to print.
    bool HasBegun() const { return mSession != nullptr; }
    /// The document so far; others may add members of their own.
    Json& Document() { return *mDocument; }
    /// After the end of the run.
    void Print(int exitCode, std::ostream& out);

private:
    Json& AddEvent(const char* kind);
    Json Requests(const std::vector<PerfRequestInfo>& requests) const;
    Json Held(const HeldRequest& held) const;
    std::string QosName(PerfQosId qosId) const;
    long long MicrosAt(TimePoint time) const;

    std::unique_ptr<Json> mDocument;
    EngineSession* mSession = nullptr;  // the run's
    TimePoint mBegin;
};

}  // namespace corebeacon::tool
