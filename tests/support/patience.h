#pragma once

namespace kivra::test {

/// How long a test waits for what may be slow on a busy machine: what a screen must show, what a
/// program or a camera must do. Being late is no fault.
constexpr int patienceMs = 30000;

} // namespace kivra::test
