#include "json_document.h"

#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "corebeacon/version.h"

namespace corebeacon::tool::test {
namespace {

std::string Printed(const Json& document) {
    std::ostringstream out;
    PrintJson(document, out);
    return out.str();
}

TEST(JsonDocument, BeginsWithTheSameHeadWhateverTheCommand) {
    EXPECT_EQ(Printed(JsonDocument("board init")),
              "{\n"
              "  \"schema_version\": 1,\n"
              "  \"command\": \"board init\",\n"
              "  \"version\": \"" COREBEACON_VERSION
              "\"\n"
              "}\n");
}

TEST(JsonDocument, KeepsTheOrderInWhichItWasFilled) {
    Json document = JsonDocument("run");
    document["writes"] = 2;
    document["device"] = "sim";
    const std::string text = Printed(document);
    EXPECT_LT(text.find("\"version\""), text.find("\"writes\""));
    EXPECT_LT(text.find("\"writes\""), text.find("\"device\""));
}

TEST(JsonDocument, StaysReadableWhateverBytesItIsGiven) {
    Json document = JsonDocument("run");
    document["value"] = "a\xff\x01\"b\n";
    const Json read = Json::parse(Printed(document));
    EXPECT_EQ(read["value"], "a\xef\xbf\xbd\x01\"b\n");
}

}  // namespace
}  // namespace corebeacon::tool::test
