// The log on Linux.
//
// A thread that prints a line only copies it into a buffer; a writer thread passes what has gathered to the journal, or
// to standard error, and always to the device's own file. What a thread prints that works for a peer is taken from the
// peer's share.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "linux/base/device_notes.h"
#include "linux/base/mutex.h"
#include "linux/log/log_batch.h"
#include "linux/log/log_file.h"
#include "linux/log/log_line.h"
#include "linux/log/log_share.h"
#include "platform/log/log_service.h"

namespace ZYNE::Linux {

// Where lines go besides the file.
enum class LogTarget { AUTOMATIC /* the journal where it runs, else standard error */, JOURNAL, STDERR, NONE };

struct LogOptions {
    std::filesystem::path file;
    std::string device;  // named with each line in the journal
    LogTarget target = LogTarget::AUTOMATIC;
    LogLevel level = LogLevel::INFO;
    bool showPrivate = false;
};

// The process's one, for devices that it runs one after the other. Any thread. Until it is opened, lines of warning
// level and above go to standard error, and as many as fit a buffer are kept for the file. A process that never opens
// it, such as a command, has its warnings on standard error.
class LinuxLog final : public LogService {
public:
    // The process's log; never destroyed.
    static LinuxLog& Get();

    void Print(LogType type, LogLevel level, const LogDomain& domain, std::string_view text) noexcept override;

    // Begins to write. `notes` are told of lines that were lost, until Close. Lines are on their way within ten
    // milliseconds, errors too: the library logs some for what is no fault. None is lost when the process ends by
    // std::terminate. Throws std::system_error when the file cannot be opened.
    void Open(const LogOptions& options, DeviceNotes& notes);

    // Returns when everything printed so far is written.
    void Flush();

    // Flushes and ends the writer thread. Later lines are written by the thread that prints them. It can be opened
    // anew.
    void Close();

private:
    LinuxLog() = default;

    // A share of which lines were suppressed, and when that is told.
    struct Overdrawn {
        std::chrono::steady_clock::time_point reportAt;
        std::shared_ptr<LogShare> share;
    };

    bool MayPrint();
    void PrintUnopened(const LogEntry& entry, std::string_view text) REQUIRES(mutex_);
    void RunWriter();
    void WaitForLines(MutexLock& lock) REQUIRES(mutex_);
    void ReportOverdrawn(std::chrono::steady_clock::time_point until) REQUIRES(mutex_);
    void WritePending();
    void WriteLines(const LogBatch& batch) REQUIRES(writeMutex_);
    void WriteToFile(const std::string& lines, size_t count) REQUIRES(writeMutex_);
    static void FlushAndTerminate();

    // Lock order: writeMutex_, then mutex_, then that of a share.
    Mutex mutex_;
    std::condition_variable wake_;
    LogBatch pending_ GUARDED_BY(mutex_);
    std::deque<Overdrawn> overdrawn_ GUARDED_BY(mutex_);  // in the order of reportAt
    bool opened_ GUARDED_BY(mutex_) = false;
    bool writing_ GUARDED_BY(mutex_) = false;  // the writer thread runs
    std::thread writer_;                       // touched by Open and Close only

    Mutex writeMutex_;
    LogBatch batch_ GUARDED_BY(writeMutex_);  // being written
    LogLineFormatter formatter_ GUARDED_BY(writeMutex_);
    LogFile file_ GUARDED_BY(writeMutex_);
    DeviceNotes* notes_ GUARDED_BY(writeMutex_) = nullptr;  // null while closed
    size_t lost_ GUARDED_BY(writeMutex_) = 0;               // lines, since the log last said so
    LogTarget target_ GUARDED_BY(writeMutex_) = LogTarget::STDERR;
    std::string device_ GUARDED_BY(writeMutex_);
};

}  // namespace ZYNE::Linux
