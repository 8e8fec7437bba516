// One attempt to connect to an X server.
#pragma once

#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/base/unique_fd.h"
#include "linux/desktop/x_connection.h"

namespace ZYNE::Linux {

// Any thread. A server that accepts a connection and then says nothing blocks the caller for ever. So a thread of its
// own connects, which nobody waits for: it ends when the server answers or goes away, or with the process.
class XAttempt {
public:
    // `display` as in InputOptions. Throws std::system_error.
    static std::shared_ptr<XAttempt> Begin(const std::string& display);

    // Becomes readable when the attempt is over.
    int Fd() const { return over_.Get(); }
    bool IsOver();

    // The result, to be taken once, when the attempt is over. Throws as XConnection::Open does.
    std::unique_ptr<XConnection> Take();

private:
    XAttempt();
    void Run(const std::string& display) noexcept;
    void End(std::unique_ptr<XConnection> connection, std::string trouble);

    const UniqueFd over_;
    Mutex mutex_;
    std::unique_ptr<XConnection> connection_ GUARDED_BY(mutex_);
    std::string trouble_ GUARDED_BY(mutex_);  // why there is no connection
    bool isOver_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
