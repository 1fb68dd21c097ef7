/// Nodes that hold a text or a number of their own and share nothing with others.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/node.h"

namespace corebeacon::sim {

/// Takes any text and gives it back.
class TextNode : public Attribute {
public:
    TextNode(std::string value, Access access);
    void Reset() override;

protected:
    int StoreText(std::string_view text) override;
    int ShowText(std::string& out) const override;

private:
    const std::string mDefault;
    std::string mText;
};

/// Takes only what it lists.
class ChoiceNode : public TextNode {
public:
    ChoiceNode(std::vector<std::string> choices, std::string value);

protected:
    int StoreText(std::string_view text) override;

private:
    const std::vector<std::string> mChoices;
};

/// Takes decimal numbers of a range and shows them without sign or zeros in front.
class NumberNode : public TextNode {
public:
    NumberNode(std::int64_t value, std::int64_t min, std::int64_t max);

protected:
    int StoreText(std::string_view text) override;

private:
    const std::int64_t mMin;
    const std::int64_t mMax;
};

/// Read-only bytes, shown as they are; a device-tree string ends in NUL, not in a newline.
class ContentNode : public Node {
public:
    explicit ContentNode(std::string bytes);
    int Fetch(std::string& out) const override;

private:
    const std::string mBytes;
};

}  // namespace corebeacon::sim
