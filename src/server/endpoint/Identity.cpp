#include "server/endpoint/Identity.h"

#include <limits.h>
#include <unistd.h>

#include <array>
#include <cctype>

#include "build_identity.h"

namespace {

constexpr const char* kProductUri = "urn:vesk:opcuasrv";

std::string hostName() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "localhost";
    return name.data();
}

void set(UA_String& text, std::string_view value) {
    UA_String_clear(&text);
    text = UA_String_fromChars(std::string(value).c_str());
}

/// 0, the null time, if it is unknown.
constexpr UA_DateTime buildDate() {
    return kBuildUnixTime == 0 ? 0 : kBuildUnixTime * UA_DATETIME_SEC + UA_DATETIME_UNIX_EPOCH;
}

}  // namespace

std::string applicationUriOn(std::string_view hostName) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string uri = "urn:";
    for (const char c : hostName) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && (std::isalnum(byte) != 0 || c == '-' || c == '.' || c == '_')) {
            uri += c;
        } else {
            uri += {'%', kDigits[byte / 16U], kDigits[byte % 16U]};
        }
    }
    return uri + ":vesk:opcuasrv";
}

void setIdentity(UA_ServerConfig& config) {
    set(config.applicationDescription.applicationUri, applicationUriOn(hostName()));
    set(config.applicationDescription.productUri, kProductUri);

    UA_BuildInfo& build = config.buildInfo;
    set(build.productUri, kProductUri);
    set(build.manufacturerName, "vesk");
    set(build.productName, "opcuasrv");
    set(build.softwareVersion, kBuildVersion);
    set(build.buildNumber, kBuildNumber);
    build.buildDate = buildDate();
}
