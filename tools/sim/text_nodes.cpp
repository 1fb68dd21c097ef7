#include "sim/text_nodes.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corebeacon::sim {

TextNode::TextNode(std::string value, Access access)
    : Attribute(access), mDefault(std::move(value)), mText(mDefault) {}

void TextNode::Reset() {
    mText = mDefault;
}

int TextNode::StoreText(std::string_view text) {
    mText = text;
    return 0;
}

int TextNode::ShowText(std::string& out) const {
    out = mText;
    return 0;
}

ChoiceNode::ChoiceNode(std::vector<std::string> choices, std::string value)
    : TextNode(std::move(value), Access::READ_WRITE), mChoices(std::move(choices)) {}

int ChoiceNode::StoreText(std::string_view text) {
    if (std::find(mChoices.begin(), mChoices.end(), text) == mChoices.end()) {
        return EINVAL;
    }
    return TextNode::StoreText(text);
}

NumberNode::NumberNode(std::int64_t value, std::int64_t min, std::int64_t max)
    : TextNode(std::to_string(value), Access::READ_WRITE), mMin(min), mMax(max) {}

int NumberNode::StoreText(std::string_view text) {
    std::int64_t number = 0;
    if (const int error = ParseNumber(text, 10, number); error != 0) {
        return error;
    }
    if (number < mMin || number > mMax) {
        return EINVAL;
    }
    return TextNode::StoreText(std::to_string(number));
}

ContentNode::ContentNode(std::string bytes) : Node(Access::READ_ONLY), mBytes(std::move(bytes)) {}

int ContentNode::Fetch(std::string& out) const {
    out = mBytes;
    return 0;
}

}  // namespace corebeacon::sim
