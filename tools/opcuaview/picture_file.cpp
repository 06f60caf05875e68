#include "tools/opcuaview/picture_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/text/text.h"

namespace tools::opcuaview {

namespace fs = std::filesystem;

std::optional<PictureFormat> pictureFormat(const std::string& path) {
    const std::string extension = lowered(fs::path(path).extension().string());
    if (extension == ".svg") return PictureFormat::svg;
    if (extension == ".png") return PictureFormat::png;
    return std::nullopt;
}

std::optional<PictureSize> parseSize(const std::string& text) {
    constexpr PictureSize kLeast{400, 250};
    constexpr int kMost = 8000;
    PictureSize size;
    const char* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc{} || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc{} || height.ptr != end) return std::nullopt;
    if (size.width < kLeast.width || size.height < kLeast.height) return std::nullopt;
    if (size.width > kMost || size.height > kMost) return std::nullopt;
    return size;
}

namespace {

std::string systemText(int error) {
    return std::generic_category().message(error);
}

/// The folder part, with its slash, so that a relative path stays one.
std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

}  // namespace

std::string folderProblem(const std::string& path) {
    if (fs::is_directory(path)) return systemText(EISDIR);
    return access(folderOf(path).c_str(), W_OK | X_OK) == 0 ? std::string{} : systemText(errno);
}

namespace {

bool writeAll(int file, const std::string& contents) {
    std::size_t written = 0;
    while (written < contents.size()) {
        const ssize_t count = write(file, contents.data() + written, contents.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

/// What a new file of this process may be used for.
mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

std::string writePicture(const std::string& path, const std::string& contents) {
    std::string temporary = folderOf(path) + ".opcuaview-XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0) return systemText(errno);
    const bool written = writeAll(file, contents) && fchmod(file, newFileMode()) == 0;
    const int writeError = errno;
    const bool closed = close(file) == 0;
    if (written && closed && rename(temporary.c_str(), path.c_str()) == 0) return {};
    const int error = written ? errno : writeError;
    unlink(temporary.c_str());
    return systemText(error);
}

}  // namespace tools::opcuaview
