#include "linux/log/log_batch.h"

namespace ZYNE::Linux {

bool LogBatch::Add(const LogEntry& entry, std::string_view text, size_t mostBytes) {
    // An entry counts too, or lines without text would never fill the batch.
    if (texts_.size() + text.size() + entries_.size() * sizeof(LogEntry) > mostBytes) {
        ++dropped_;
        return false;
    }
    texts_ += text;
    ends_.push_back(texts_.size());
    entries_.push_back(entry);
    return true;
}

std::string_view LogBatch::Text(size_t index) const {
    const size_t begin = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(texts_).substr(begin, ends_[index] - begin);
}

void LogBatch::Clear() {
    entries_.clear();
    ends_.clear();
    texts_.clear();
    dropped_ = 0;
}

}  // namespace ZYNE::Linux
