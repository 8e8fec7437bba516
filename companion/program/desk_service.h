// What the companion tells programs of its device: see desk_api.xml.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/desk.h"
#include "linux/base/event_loop.h"
#include "linux/base/mailbox.h"

namespace ZYNE::Companion {

// Any thread. Two threads of its own: on one requests come, on the other programs are told. The first holds the bus while
// a handler runs, which may wait for whoever calls Tell.
class DeskService {
public:
    // Called on the service's thread; must not throw.
    struct Handlers {
        std::function<Client::DeskState()> state;
        std::function<bool()> bringHome;
        std::function<std::vector<Client::DeskFact>(const std::string& peer)> explain;
    };

    // Serves from now on. Throws std::runtime_error with one line.
    DeskService(const Client::DeviceEntry& device, Handlers handlers);
    DeskService(const DeskService&) = delete;
    DeskService& operator=(const DeskService&) = delete;
    // Waits until a handler has returned.
    ~DeskService();

    // Tells all programs that listen, soon. Waits for nobody; of passages in a flood some are lost.
    void Tell(const Client::Passage& passage);

private:
    class Adaptor;

    void Emit(const Client::Passage& passage);

    struct Connection;
    const std::unique_ptr<Connection> connection_;
    Linux::EventLoop telling_{"desk-telling"};
    const std::shared_ptr<Linux::Mailbox<Client::Passage>> passages_;  // handled on that thread
};

}  // namespace ZYNE::Companion
