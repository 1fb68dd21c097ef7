#include "json_document.h"

#include <nlohmann/json.hpp>

#include "corebeacon/version.h"

namespace corebeacon::tool {

namespace {

constexpr int kIndent = 2;

}  // namespace

Json JsonDocument(std::string_view command) {
    Json document;
    document["schema_version"] = kJsonSchemaVersion;
    document["command"] = command;
    document["version"] = COREBEACON_VERSION;
    return document;
}

void PrintJson(const Json& document, std::ostream& out) {
    // Node values and comments of scripts hold any bytes.
    out << document.dump(kIndent, ' ', false, Json::error_handler_t::replace) << "\n" << std::flush;
}

}  // namespace corebeacon::tool
