#pragma once

namespace kivra::test {

/// How long a test waits for what takes its time on a busy machine: what a screen is to show, what
/// a program or a camera is to do. Nothing is wrong with what is late.
constexpr int patienceMs = 30000;

} // namespace kivra::test
