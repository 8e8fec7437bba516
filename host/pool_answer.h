// Answers a program's request on the pool, so that none holds up another.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

#include "host/api_error.h"

namespace ZYNE::Host {

// Has `task` run on the pool. False when the pool refuses.
bool RunOnPool(std::function<void()> task);

// As the bus carries it.
sdbus::Error BusError(const ApiError& error);

// Runs `send`, which answers a request. Nobody may be left to take the answer; that is logged.
void SendAnswer(const std::function<void()>& send);

// Answers with what `operation` returns, or with the error that it throws; one that is no ApiError is a Failed.
template <typename... Results>
void AnswerOnPool(
    sdbus::Result<Results...>&& result, std::type_identity_t<std::function<std::tuple<Results...>()>> operation) {
    const auto answer = std::make_shared<sdbus::Result<Results...>>(std::move(result));
    const auto refuse = [answer](const ApiError& error) {
        SendAnswer([&] { answer->returnError(BusError(error)); });
    };
    const bool accepted = RunOnPool([answer, refuse, operation = std::move(operation)] {
        try {
            const std::tuple<Results...> results = operation();
            SendAnswer([&] { std::apply([&](const Results&... each) { answer->returnResults(each...); }, results); });
        } catch (const ApiError& error) {
            refuse(error);
        } catch (const std::exception& error) {
            refuse(ApiError("Failed", error.what()));
        }
    });
    if (!accepted) {
        refuse(ApiError("Busy", "too many requests are under way, or the device is stopping"));
    }
}

}  // namespace ZYNE::Host
