// The sanitizers' options in the tests' decoder program, which gets no variables for them. It is
// ended without a check for leaks, so it need not record thoroughly where memory was allocated,
// which would make its start ten times as long.

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the sanitizers' own names

const char *__asan_default_options()
{
    return "detect_leaks=0:detect_stack_use_after_return=1:handle_abort=1:"
           "allocator_may_return_null=1";
}

const char *__ubsan_default_options()
{
    return "print_stacktrace=1";
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
}
