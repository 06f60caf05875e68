#include "tools/opcuaweb/http/passwords.h"

#include <crypt.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/basics/random_id.h"
#include "tools/text/text.h"

namespace tools::opcuaweb {

// ---- The header --------------------------------------------------------------------------------

namespace {

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.empty() || text.size() % 4 != 0 || text.size() > 1024) return std::nullopt;
    std::vector<unsigned char> bytes(text.size() / 4 * 3);
    const int length =
        EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    if (length < 0) return std::nullopt;
    const auto padding = static_cast<std::size_t>(text.ends_with("==") ? 2 : text.ends_with('='));
    return std::string(bytes.begin(), bytes.begin() + length - static_cast<int>(padding));
}

}  // namespace

std::optional<Credentials> readCredentials(std::string_view header) {
    constexpr std::string_view kScheme = "basic ";
    if (lowered(header.substr(0, kScheme.size())) != kScheme) return std::nullopt;
    header.remove_prefix(kScheme.size());
    const auto text =
        fromBase64(header.substr(std::min(header.find_first_not_of(' '), header.size())));
    const std::size_t colon = text ? text->find(':') : std::string::npos;
    if (colon == std::string::npos) return std::nullopt;
    Credentials credentials{text->substr(0, colon), text->substr(colon + 1)};
    const bool hasNul = credentials.password.find('\0') != std::string::npos;
    return hasNul ? std::nullopt : std::optional(credentials);
}

// ---- The file ----------------------------------------------------------------------------------

std::string Passwords::read(const std::string& path, Language language) {
    static constexpr Text kUnreadable{" не читается", " cannot be read"};
    static constexpr Text kEmpty{": нет ни одной строки имя:хеш", ": no line name:hash"};
    std::ifstream file(path);
    if (!file) return path + kUnreadable.in(language);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with('#')) continue;
        const Text* const problem = addLine(line);
        if (problem == nullptr) continue;
        return path + ":" + std::to_string(number) + ": " + problem->in(language);
    }
    if (hashes_.empty()) return path + kEmpty.in(language);
    salt_ = randomId();
    return {};
}

/// @return what is wrong with the line; null if nothing is
const Text* Passwords::addLine(const std::string& line) {
    static constexpr Text kNoPair{"не строка имя:хеш", "no line name:hash"};
    static constexpr Text kOtherHash{
        "хеш неизвестного или устаревшего вида (нужен mkpasswd или openssl passwd -6)",
        "the hash is of an unknown or outdated kind (use mkpasswd or openssl passwd -6)"};
    static constexpr Text kTwice{"это имя уже есть", "this name is there already"};
    const std::size_t colon = line.find(':');
    const std::string hash = colon == std::string::npos ? "" : line.substr(colon + 1);
    if (colon == 0 || hash.empty()) return &kNoPair;
    // After the last dollar sign; the kept kinds have 43 characters there and more.
    constexpr std::size_t kShortest = 40;
    const bool isKept = crypt_checksalt(hash.c_str()) == CRYPT_SALT_OK && hash.starts_with('$') &&
                        hash.size() - hash.rfind('$') > kShortest;
    if (!isKept) return &kOtherHash;
    return hashes_.emplace(line.substr(0, colon), hash).second ? nullptr : &kTwice;
}

// ---- Verifying ---------------------------------------------------------------------------------

Passwords::Digest Passwords::digestOf(const Credentials& credentials) const {
    // The lengths are fixed or stated, so that no two pairs give the same text.
    const std::string text = salt_ + std::to_string(credentials.name.size()) + ":" +
                             credentials.name + credentials.password;
    Digest digest{};
    static_cast<void>(
        EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr));
    return digest;
}

bool Passwords::isRemembered(const std::string& name, const Digest& digest) {
    const std::lock_guard lock(mutex_);
    const auto known = remembered_.find(name);
    return known != remembered_.end() &&
           CRYPTO_memcmp(known->second.data(), digest.data(), digest.size()) == 0;
}

bool Passwords::matchesHash(const Credentials& credentials) const {
    const auto found = hashes_.find(credentials.name);
    // An unknown name takes as long as a known one.
    const std::string& hash = found == hashes_.end() ? hashes_.begin()->second : found->second;
    const auto data = std::make_unique<crypt_data>();
    const char* const result = crypt_r(credentials.password.c_str(), hash.c_str(), data.get());
    const bool matches = result != nullptr && std::string_view(result).size() == hash.size() &&
                         CRYPTO_memcmp(result, hash.data(), hash.size()) == 0;
    return matches && found != hashes_.end();
}

Passwords::Verdict Passwords::verify(const Credentials& credentials) {
    const Digest digest = digestOf(credentials);
    if (isRemembered(credentials.name, digest)) return Verdict::right;
    {
        const std::lock_guard lock(mutex_);
        if (attempts_ >= kMostAttempts) return Verdict::tooMany;
        ++attempts_;
    }
    bool right = false;
    {
        const std::lock_guard lock(hashing_);
        right = matchesHash(credentials);
    }
    if (!right) waitForRefusal();
    const std::lock_guard lock(mutex_);
    --attempts_;
    if (right) remembered_[credentials.name] = digest;
    return right ? Verdict::right : Verdict::wrong;
}

void Passwords::waitForRefusal() {
    Clock::time_point end;
    {
        const std::lock_guard lock(mutex_);
        end = std::max(Clock::now() + kRefusalTime, nextRefusal_);
        nextRefusal_ = end + kRefusalsEvery;
    }
    std::this_thread::sleep_until(end);
}

}  // namespace tools::opcuaweb
