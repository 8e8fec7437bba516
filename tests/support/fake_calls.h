// Writes the calls of a fake into the journal and answers them with the codes that a test sets.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "tests/support/journal.h"

namespace ZYNE::Testing {

// Any thread; but public members are set while no other thread calls.
class FakeCalls {
public:
    // By the name of an operation, or by its whole line in the journal, which comes first: what the call answers. A
    // call that has no code succeeds.
    std::map<std::string, int32_t> codes;
    // By the name of an operation, or "" for any: runs once, inside the next call, as soon as it stands in the journal.
    std::map<std::string, std::function<void()>> during;

protected:
    explicit FakeCalls(Journal& journal) : journal_(journal) {}
    ~FakeCalls() = default;

    // Writes "operation(arguments)"; the code, or 0.
    int32_t Call(const std::string& operation, const std::string& arguments) {
        const std::string line = operation + "(" + arguments + ")";
        journal_.Call(line);
        for (const std::string& name : {operation, std::string()}) {
            if (const auto event = during.extract(name)) {
                event.mapped()();
            }
        }
        const auto found = codes.contains(line) ? codes.find(line) : codes.find(operation);
        return found != codes.end() ? found->second : 0;
    }

private:
    Journal& journal_;
};

}  // namespace ZYNE::Testing
