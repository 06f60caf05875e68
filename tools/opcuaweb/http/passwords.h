#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tools/opcuaweb/basics/clock.h"
#include "tools/text/language.h"

namespace tools::opcuaweb {

struct Credentials {
    std::string name;
    std::string password;
};

/// What a header "Authorization: Basic ..." contains (RFC 7617). @return nothing for any other text
[[nodiscard]] std::optional<Credentials> readCredentials(std::string_view header);

/// The names and hashed passwords of --password-file: a line "name:hash" for each, the hash as made by
/// `mkpasswd` or `openssl passwd -6`. Blank lines and those that begin with "#" do not count. Any thread.
class Passwords {
  public:
    enum class Verdict { right, wrong, tooMany };

    /// Reads the file. @return what is wrong with it, with its line; empty if nothing is
    [[nodiscard]] std::string read(const std::string& path, Language language);

    /// Verifies; a wrong one takes its time. A right one is remembered for the process, so that the hash,
    /// which is slow on purpose, is computed once.
    [[nodiscard]] Verdict verify(const Credentials& credentials);

  private:
    using Digest = std::array<std::uint8_t, 32>;

    [[nodiscard]] const Text* addLine(const std::string& line);
    [[nodiscard]] Digest digestOf(const Credentials& credentials) const;
    [[nodiscard]] bool isRemembered(const std::string& name, const Digest& digest);
    [[nodiscard]] bool matchesHash(const Credentials& credentials) const;
    void waitForRefusal();

    std::map<std::string, std::string> hashes_;  // by name; constant after `read`
    std::string salt_;                           // of the digests; constant after `read`
    std::mutex mutex_;                           // guards all below
    std::map<std::string, Digest> remembered_;   // by name, so no more than there are lines
    int attempts_ = 0;
    Clock::time_point nextRefusal_;
    std::mutex hashing_;  // one hash at a time: each takes a core and some memory
};

}  // namespace tools::opcuaweb
