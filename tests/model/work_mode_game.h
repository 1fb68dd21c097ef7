/// The engine's arbitration of work modes and its model, which is small enough to stand here: the
/// requests in order of arrival. After every step the return code, the answer, the mode in force
/// and the dump must be equal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corebeacon::model {

struct ModeStep {
    enum Kind { INIT, SET, RELEASE };
    Kind kind = SET;
    unsigned long handle = 0;
    std::uint32_t mode = 0;
};

struct ModeScript {
    std::vector<ModeStep> steps;
};

class NaiveWorkModes {
public:
    /// `lastWins` plants a mistake: the youngest request decides instead of the highest.
    explicit NaiveWorkModes(bool lastWins = false) : mLastWins(lastWins) {}
    int Init(std::uint32_t mode);
    int Set(unsigned long handle, std::uint32_t mode, std::uint32_t& result);
    int Release(unsigned long handle, std::uint32_t& result);
    std::uint32_t Current() const { return mCurrent; }
    std::string Dump() const;

private:
    struct Request {
        unsigned long handle;
        std::uint32_t mode;
    };
    int Decide(std::uint32_t& result);

    const bool mLastWins;
    std::uint32_t mCurrent = 0;
    std::vector<Request> mRequests;
};

class ModeGame {
public:
    explicit ModeGame(bool lastWins = false) : mLastWins(lastWins) {}
    ModeScript Make(std::uint64_t seed) const;
    std::string Play(const ModeScript& script) const;
    static std::string Print(const ModeScript& script);

private:
    const bool mLastWins;
};

/// What the exhaustive test combines.
std::vector<ModeStep> ModeAlphabet();

}  // namespace corebeacon::model
