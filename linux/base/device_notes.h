// What people should know about the device itself, shown in its status for as long as it is so: a full disk, a damaged
// database.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "linux/base/mutex.h"

namespace ZYNE::Linux {

// Any thread. Its lock is the last in the order: nothing else is locked under it.
class DeviceNotes {
public:
    struct Note {
        std::string kind;   // disk, damaged, profile or log
        std::string about;  // what it is about: there is one note for each kind and subject
        std::string text;   // one line
    };

    // Beyond this many the oldest is dropped.
    static constexpr size_t MAX_NOTES = 32;

    // Replaces an earlier note of the same kind about the same thing.
    void Set(const std::string& kind, const std::string& about, const std::string& text) {
        const MutexLock lock(mutex_);
        Remove(kind, about);
        notes_.push_front({kind, about, text});
        if (notes_.size() > MAX_NOTES) {
            notes_.pop_back();
        }
    }

    // Removes a note. Does nothing when there is no such note.
    void Clear(const std::string& kind, const std::string& about) {
        const MutexLock lock(mutex_);
        Remove(kind, about);
    }

    // The latest first.
    std::vector<Note> All() const {
        const MutexLock lock(mutex_);
        return {notes_.begin(), notes_.end()};
    }

private:
    void Remove(const std::string& kind, const std::string& about) REQUIRES(mutex_) {
        notes_.remove_if([&](const Note& note) { return note.kind == kind && note.about == about; });
    }

    mutable Mutex mutex_;
    std::list<Note> notes_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
