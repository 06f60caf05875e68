#include "platform/trends/standin/batch.h"

namespace trends {

void BatchEncoder::add(const Run& run) {
    appendNumber(bytes_, static_cast<std::uint64_t>(run.pen - penBefore_));
    bytes_.push_back(static_cast<std::uint8_t>(run.valueType));
    appendNumber(bytes_, static_cast<std::uint64_t>(run.first - first_));
    appendNumber(bytes_, run.bytes.size());
    bytes_.insert(bytes_.end(), run.bytes.begin(), run.bytes.end());
    penBefore_ = run.pen;
}

bool BatchDecoder::next(Run& run) {
    if (damaged_ || rest_.empty()) return false;
    damaged_ = !takeRun(run);
    return !damaged_;
}

// Arithmetic on the contents of a possibly damaged file is unsigned, where overflow is defined.
bool BatchDecoder::takeRun(Run& run) {
    std::uint64_t pens = 0;
    std::uint8_t type = 0;
    std::uint64_t delay = 0;
    std::uint64_t size = 0;
    if (!rest_.takeNumber(pens) || !rest_.take(&type, sizeof type) || !rest_.takeNumber(delay) ||
        !rest_.takeNumber(size) || !rest_.takeSpan(size, run.bytes)) {
        return false;
    }
    pen_ = static_cast<std::int64_t>(static_cast<std::uint64_t>(pen_) + pens);
    run.pen = pen_;
    run.valueType = type;
    run.first = static_cast<std::int64_t>(static_cast<std::uint64_t>(first_) + delay);
    return true;
}

}  // namespace trends
