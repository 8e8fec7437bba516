#include "linux/log/linux_log.h"

#include <chrono>
#include <exception>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/write_all.h"
#include "linux/log/log_journal.h"
#include "platform/log/log_print.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::LOG;
constexpr auto GATHER_TIME = 10ms;
constexpr size_t MAX_PENDING_BYTES = size_t{4} << 20U;
constexpr size_t MAX_UNOPENED_BYTES = size_t{256} << 10U;

std::terminate_handler terminateBefore = nullptr;

}  // namespace

LinuxLog& LinuxLog::Get() {
    static auto& log = *new LinuxLog();
    return log;
}

void LinuxLog::Print(LogType /*type*/, LogLevel level, const LogDomain& domain, std::string_view text) noexcept {
    try {
        if (!MayPrint()) {
            return;
        }
        LogEntry entry{std::chrono::system_clock::now(), level, domain, text.size(), false};
        const std::string_view cut = CutText(text, MAX_LINE_BYTES);
        MutexLock lock(mutex_);
        if (!opened_) {
            PrintUnopened(entry, cut);
            return;
        }
        const bool first = pending_.Empty();
        pending_.Add(entry, cut, MAX_PENDING_BYTES);
        if (!writing_) {
            lock.unlock();
            WritePending();
            return;
        }
        lock.unlock();
        if (first) {
            wake_.notify_one();
        }
    } catch (...) {
        // There is nowhere to report it: the line is lost.
    }
}

// Whether the peer that the thread works for, if any, has lines left.
bool LinuxLog::MayPrint() {
    const std::shared_ptr<LogShare> share = LogShareScope::Current();
    if (!share || share->Take()) {
        return true;
    }
    if (share->WantsReport()) {
        const MutexLock lock(mutex_);
        overdrawn_.push_back({std::chrono::steady_clock::now() + LogShare::TIME, share});
        wake_.notify_one();
    }
    return false;
}

// Under the lock: lines of several threads must not mix.
void LinuxLog::PrintUnopened(const LogEntry& entry, std::string_view text) {
    LogEntry kept = entry;
    if (entry.level >= LogLevel::WARN) {
        std::string line;
        LogLineFormatter().Append(line, entry, text);
        kept.shown = WriteAll(STDERR_FILENO, line);
    }
    pending_.Add(kept, text, MAX_UNOPENED_BYTES);
}

void LinuxLog::Open(const LogOptions& options, DeviceNotes& notes) {
    {
        const MutexLock lock(writeMutex_);
        file_.Open(options.file);
        notes_ = &notes;
        device_ = options.device;
        target_ = options.target;
        if (target_ == LogTarget::AUTOMATIC) {
            target_ = JournalRuns() ? LogTarget::JOURNAL : LogTarget::STDERR;
        }
    }
    minLevel = options.level;
    showPrivate = options.showPrivate;
    if (terminateBefore == nullptr) {
        terminateBefore = std::set_terminate(FlushAndTerminate);
    }
    {
        const MutexLock lock(mutex_);
        opened_ = true;
        writing_ = true;
    }
    writer_ = std::thread([this] { RunWriter(); });
}

void LinuxLog::RunWriter() {
    pthread_setname_np(pthread_self(), "collabd-log");
    MutexLock lock(mutex_);
    while (writing_) {
        WaitForLines(lock);
        wake_.wait_for(lock, GATHER_TIME, [this]() REQUIRES(mutex_) { return !writing_; });
        ReportOverdrawn(std::chrono::steady_clock::now());
        lock.unlock();
        WritePending();
        lock.lock();
    }
}

void LinuxLog::WaitForLines(MutexLock& lock) {
    while (writing_ && pending_.Empty()) {
        if (overdrawn_.empty()) {
            wake_.wait(lock);
            continue;
        }
        const auto reportAt = overdrawn_.front().reportAt;
        if (wake_.wait_until(lock, reportAt) == std::cv_status::timeout) {
            return;
        }
    }
}

// Tells what was suppressed and is to be told by `until`.
void LinuxLog::ReportOverdrawn(std::chrono::steady_clock::time_point until) {
    while (!overdrawn_.empty() && overdrawn_.front().reportAt <= until) {
        const std::string report = overdrawn_.front().share->Report();
        overdrawn_.pop_front();
        const LogEntry entry{std::chrono::system_clock::now(), LogLevel::WARN, LOG, report.size(), false};
        pending_.Add(entry, CutText(report, MAX_LINE_BYTES), MAX_PENDING_BYTES);
    }
}

void LinuxLog::WritePending() {
    const MutexLock writeLock(writeMutex_);
    if (!file_.IsOpen()) {
        return;
    }
    {
        const MutexLock lock(mutex_);
        std::swap(pending_, batch_);
    }
    if (batch_.Dropped() > 0) {
        const std::string note = std::to_string(batch_.Dropped()) + " lines came too fast and were dropped";
        batch_.Add({std::chrono::system_clock::now(), LogLevel::WARN, LOG, note.size(), false}, note, SIZE_MAX);
    }
    try {
        WriteLines(batch_);
    } catch (const std::exception&) {
        WriteAll(STDERR_FILENO, "log lines were lost: out of memory\n");
    }
    batch_.Clear();
}

void LinuxLog::WriteLines(const LogBatch& batch) {
    std::string toFile;
    std::string toStderr;
    size_t lines = 0;
    for (size_t i = 0; i < batch.Size(); ++i) {
        const LogEntry& entry = batch.Entry(i);
        if (entry.level < minLevel.load()) {
            continue;
        }
        const size_t begin = toFile.size();
        formatter_.Append(toFile, entry, batch.Text(i));
        ++lines;
        if (target_ == LogTarget::STDERR && !entry.shown) {
            toStderr += std::string_view(toFile).substr(begin);
        } else if (target_ == LogTarget::JOURNAL) {
            SendToJournal(device_, entry, batch.Text(i));
        }
    }
    WriteToFile(toFile, lines);
    WriteAll(STDERR_FILENO, toStderr);
}

// What was lost is told in front of the first lines that are not.
void LinuxLog::WriteToFile(const std::string& lines, size_t count) {
    if (count == 0) {
        return;
    }
    std::string report;
    if (lost_ > 0) {
        const std::string text = std::to_string(lost_) + " lines were lost: no room on the disk";
        formatter_.Append(report, {std::chrono::system_clock::now(), LogLevel::WARN, LOG, text.size(), false}, text);
    }
    if (file_.Write(report + lines)) {
        if (std::exchange(lost_, 0) > 0 && notes_ != nullptr) {
            notes_->Clear("log", "");
        }
        return;
    }
    lost_ += count;
    if (notes_ != nullptr) {
        notes_->Set("log", "", std::to_string(lost_) + " lines of the log were lost: no room on the disk");
    }
}

void LinuxLog::Flush() {
    WritePending();
}

void LinuxLog::Close() {
    {
        const MutexLock lock(mutex_);
        writing_ = false;
    }
    wake_.notify_one();
    if (writer_.joinable()) {
        writer_.join();
    }
    {
        const MutexLock lock(mutex_);
        ReportOverdrawn(std::chrono::steady_clock::time_point::max());
    }
    WritePending();
    const MutexLock lock(writeMutex_);
    notes_ = nullptr;
}

// The thread that terminates may hold a lock of the log: what cannot be had soon is given up.
void LinuxLog::FlushAndTerminate() {
    LinuxLog& log = Get();
    for (int i = 0; i < 100; ++i) {
        if (log.writeMutex_.IsFree()) {
            log.WritePending();
            break;
        }
        std::this_thread::sleep_for(1ms);
    }
    terminateBefore();
}

}  // namespace ZYNE::Linux
