// What the companion tells programs of its device: see desk_api.xml.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/desk.h"

namespace ZYNE::Companion {

// Any thread. A thread of its own, on which requests come.
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

    // Tells all programs that listen.
    void Tell(const Client::Passage& passage);

private:
    class Adaptor;

    struct Connection;
    const std::unique_ptr<Connection> connection_;
};

}  // namespace ZYNE::Companion
