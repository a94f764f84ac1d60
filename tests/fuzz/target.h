#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kivra::fuzz {

// What each fuzz target is made of; libfuzzer.cpp and replay.cpp call it.

/// What lives as long as inputs come, such as the application.
struct Surroundings
{
    virtual ~Surroundings() = default;
};

/// Called once, before the first input, with the program's arguments, which stay valid. The result
/// may be null.
std::unique_ptr<Surroundings> prepare(int &argc, char **argv);

/// Feeds one input to what is under test; ends the process by abort() at a fault.
void run(const std::uint8_t *data, std::size_t size);

/// Ends the process with the message \a what, unless \a holds.
void require(bool holds, const char *what);

} // namespace kivra::fuzz
