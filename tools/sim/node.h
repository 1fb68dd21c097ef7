/// One node of the simulated device: what its file operations do. Owned by its NodeSlot, whose lock
/// is held during every call, so a node guards only what it shares with other nodes.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/node_traits.h"

namespace corebeacon::sim {

class Node {
public:
    explicit Node(Access access) : mAccess(access) {}
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    void SetReadOnly(bool readOnly);
    bool MayRead() const { return mAccess != Access::WRITE_ONLY; }
    bool MayWrite() const { return mAccess != Access::READ_ONLY && !mReadOnly; }

    virtual void Opened(int fd);
    virtual void Closed(int fd);
    /// How many bytes were taken, or a negative errno.
    virtual ssize_t Store(int fd, std::string_view bytes);
    /// Fills `out` with all that a read gives; 0 or a positive errno.
    virtual int Fetch(std::string& out) const = 0;
    /// 0 or a negative errno.
    virtual int Control(unsigned long request, const std::vector<std::uint8_t>& argument);
    /// For people and tests; see SimulatedDevice::Value.
    virtual std::string Value() const;
    /// Back to what the node held when it was added.
    virtual void Reset();

private:
    const Access mAccess;
    bool mReadOnly = false;
};

/// A sysfs attribute: text, of which the kernel takes less than one page at a time and to which
/// reads append a newline.
class Attribute : public Node {
public:
    using Node::Node;

    ssize_t Store(int fd, std::string_view bytes) final;
    int Fetch(std::string& out) const final;

protected:
    /// `text` has lost its final newline, if it had one. 0 or a positive errno.
    virtual int StoreText(std::string_view text);
    /// 0 or a positive errno.
    virtual int ShowText(std::string& out) const = 0;
};

/// Reads the whole of `text` as a number the way the kernel's strict parsers do: an optional sign,
/// digits, nothing else. `base` is 10, 16 (with or without 0x) or 0 (by prefix). 0, EINVAL or
/// ERANGE.
int ParseNumber(std::string_view text, int base, std::int64_t& out);

}  // namespace corebeacon::sim
