#include "sim/cpufreq_nodes.h"

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace corebeacon::sim {

namespace {

/// What all files of a policy have in common: those of an offline policy can neither be read nor
/// written, and nobody looks at the text.
class PolicyNode : public Attribute {
public:
    PolicyNode(std::shared_ptr<CpufreqPolicy> policy, Access access)
        : Attribute(access), mPolicy(std::move(policy)) {}

protected:
    int StoreText(std::string_view text) final {
        const int error = mPolicy->WriteError();
        return error != 0 ? error : Take(text);
    }

    int ShowText(std::string& out) const final {
        const int error = mPolicy->ReadError();
        if (error == 0) {
            out = Text();
        }
        return error;
    }

    /// 0 or a positive errno.
    virtual int Take(std::string_view /*text*/) { return EIO; }
    virtual std::string Text() const = 0;

    const std::shared_ptr<CpufreqPolicy> mPolicy;
};

class FrequencyListNode : public PolicyNode {
public:
    explicit FrequencyListNode(std::shared_ptr<CpufreqPolicy> policy)
        : PolicyNode(std::move(policy), Access::READ_ONLY) {}

protected:
    std::string Text() const override {
        std::string text;
        for (const std::int64_t khz : mPolicy->Frequencies()) {
            text += std::to_string(khz) + " ";  // the kernel ends each entry with a blank
        }
        return text;
    }
};

class BoundNode : public PolicyNode {
public:
    BoundNode(std::shared_ptr<CpufreqPolicy> policy, Bound bound)
        : PolicyNode(std::move(policy), Access::READ_WRITE), mBound(bound) {}

    void Reset() override { mPolicy->ResetBound(mBound); }

protected:
    int Take(std::string_view text) override {
        std::int64_t khz = 0;
        const int error = ParseNumber(text, 0, khz);
        return error != 0 ? error : mPolicy->Ask(mBound, khz);
    }

    std::string Text() const override { return std::to_string(mPolicy->Read(mBound)); }

private:
    const Bound mBound;
};

class GovernorNode : public PolicyNode {
public:
    explicit GovernorNode(std::shared_ptr<CpufreqPolicy> policy)
        : PolicyNode(std::move(policy), Access::READ_WRITE) {}

    void Reset() override { mPolicy->SetGovernor(kSchedutil); }

protected:
    int Take(std::string_view text) override { return mPolicy->AskGovernor(std::string(text)); }

    std::string Text() const override { return mPolicy->Governor(); }
};

class GovernorListNode : public PolicyNode {
public:
    explicit GovernorListNode(std::shared_ptr<CpufreqPolicy> policy)
        : PolicyNode(std::move(policy), Access::READ_ONLY) {}

protected:
    std::string Text() const override {
        std::string text;
        for (const char* governor : kGovernorNames) {
            text += std::string(governor) + " ";
        }
        return text;
    }
};

}  // namespace

std::shared_ptr<Node> MakeFrequencyListNode(std::shared_ptr<CpufreqPolicy> policy) {
    return std::make_shared<FrequencyListNode>(std::move(policy));
}

std::shared_ptr<Node> MakeBoundNode(std::shared_ptr<CpufreqPolicy> policy, Bound bound) {
    return std::make_shared<BoundNode>(std::move(policy), bound);
}

std::shared_ptr<Node> MakeGovernorNode(std::shared_ptr<CpufreqPolicy> policy) {
    return std::make_shared<GovernorNode>(std::move(policy));
}

std::shared_ptr<Node> MakeGovernorListNode(std::shared_ptr<CpufreqPolicy> policy) {
    return std::make_shared<GovernorListNode>(std::move(policy));
}

}  // namespace corebeacon::sim
