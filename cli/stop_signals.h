// The user's wish to end a command that goes on by itself.
#pragma once

#include <iosfwd>

namespace ZYNE::Cli {

// From its making on, SIGINT and SIGTERM do not end the process but make a descriptor readable. Made before any thread.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    int Descriptor() const { return descriptor_; }

    // Makes it readable when `out` has failed: nobody reads what would follow.
    void RaiseUnlessWritable(const std::ostream& out) const;

private:
    int descriptor_;
};

}  // namespace ZYNE::Cli
