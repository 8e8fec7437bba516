// The newest list of revoked devices that a device knows of, in a file that outlives the process.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "linux/account/revocations.h"
#include "linux/base/mutex.h"

namespace ZYNE::Linux {

// Any thread. Reading never waits for the disk; Take does. storing_ is locked before mutex_, which is a leaf.
class RevocationFile {
public:
    // Reads `file`, a path with its directory, and takes the list in the credentials' directory where that is newer.
    // What cannot be used is left aside, see Problem. Throws nothing but std::bad_alloc.
    RevocationFile(std::filesystem::path file, std::string authorityPem, const std::filesystem::path& credentials);
    RevocationFile(const RevocationFile&) = delete;
    RevocationFile& operator=(const RevocationFile&) = delete;

    // True when `document` is a newer list than the one before: it counts from then on, also when it cannot be stored
    // (see Problem). False when it is no news. Throws std::runtime_error with one line when it is not a list of this
    // account.
    bool Take(const std::string& document);

    // Never null; number 0 when nothing was ever revoked.
    std::shared_ptr<const Revocations> Current() const;
    // Current as its document, for others; empty when its number is 0.
    std::string Document() const;

    // Why a file could not be used last, as one line for the log; empty when all went well.
    std::string Problem() const;

private:
    struct State {
        Revocations list;
        std::string document;
    };

    // Leaves a file that is not there aside.
    void UseFile(const std::filesystem::path& file, const std::function<void(const std::string& document)>& use);
    // Take without storing it.
    bool Adopt(const std::string& document);
    void Store(const std::string& document);
    std::shared_ptr<const State> Now() const;
    void SetProblem(const std::string& problem);

    const std::filesystem::path file_;
    const std::string authority_;
    Mutex storing_;  // held by whoever takes a list, so that the file gets the newest last
    mutable Mutex mutex_;
    std::shared_ptr<const State> state_ GUARDED_BY(mutex_);
    std::string problem_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
