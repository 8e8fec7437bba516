// Answers one peer's request for dynamic info of this device.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/host/command.h"
#include "plugin/export.h"

namespace ZYNE::CollaborationFwk {

// Always held by std::shared_ptr. The host executes it on a thread of its own; values are collected and sent on a
// thread of the pool, since providers may take seconds. Failures after that are logged only: the peer learns of them by
// its own time-out.
class InfoCollectionCommand : public Command, public std::enable_shared_from_this<InfoCollectionCommand> {
public:
    explicit InfoCollectionCommand(const std::vector<std::string>& infoNames);

    // Has the pool answer on the session `collaborationSessionId`. A second call answers a second time.
    // 0; 2209 the pool refused.
    CFWK_EXPORT int32_t Execute(int collaborationSessionId) override;
    // Does nothing: 0.
    CFWK_EXPORT int32_t Release(uint32_t reason) override;
    // The channel has authenticated the peer: true.
    CFWK_EXPORT bool AuthenticationCheck(std::string peer) override;

protected:
    // Sends what was collected. The host's result of sending; 2201 when there is nothing to send. With runMutex_ held.
    virtual int32_t ResponseInfoCollecRes();

private:
    // The pool's task: holds the command over the run, unless the host has dropped it before.
    static void GetInfoAndResponse(const std::weak_ptr<InfoCollectionCommand>& command);
    void GetInfoAndResponse();

    std::vector<std::string> infoNames_;
    std::unordered_map<std::string, std::string> infoRes_;  // guarded by runMutex_
    std::atomic<int32_t> collaborationSessionId_{0};
    std::mutex runMutex_;  // held over a whole run, so that two executions answer one after the other
};

}  // namespace ZYNE::CollaborationFwk
