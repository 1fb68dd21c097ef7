/// Nodes of /dev: the quality-of-service files, where every descriptor is a request of its own,
/// and the device that is driven by ioctl.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/node.h"

namespace corebeacon::sim {

class BinaryNode : public Node {
public:
    BinaryNode(Aggregate aggregate, std::int32_t idleValue, bool hexText);
    void Opened(int fd) override;
    void Closed(int fd) override;
    ssize_t Store(int fd, std::string_view bytes) override;
    int Fetch(std::string& out) const override;
    std::string Value() const override;
    void Reset() override;

private:
    std::int32_t Total() const;

    const Aggregate mAggregate;
    const std::int32_t mIdleValue;
    const bool mHexText;
    std::map<int, std::optional<std::int32_t>> mRequests;  // by descriptor
};

class IoctlNode : public Node {
public:
    /// Request numbers of the priority device: 16 bytes each, an id at offset 0 and, to set, a
    /// priority at offset 8. Other numbers are carried out without a visible effect.
    static constexpr unsigned long kSetPriority = 0x4010781E;
    static constexpr unsigned long kResetPriority = 0x4010781F;

    explicit IoctlNode(std::vector<unsigned long> requests);
    int Fetch(std::string& out) const override;
    int Control(unsigned long request, const std::vector<std::uint8_t>& argument) override;
    std::string Value() const override;
    void Reset() override;

private:
    const std::vector<unsigned long> mRequests;
    std::map<std::uint32_t, std::uint32_t> mPriorities;  // by id
};

}  // namespace corebeacon::sim
