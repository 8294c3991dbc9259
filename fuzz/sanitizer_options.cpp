// Options of the address sanitizer, which it requests when a target starts. Requests that are too
// large return null, as the library expects of its allocator. Short stacks and a small quarantine
// leave more time for inputs.
extern "C" const char* __asan_default_options();  // NOLINT(bugprone-reserved-identifier)

// Declared first and not inline: it replaces the sanitizer's weak definition.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1:max_allocation_size_mb=256:malloc_context_size=8:"
           "quarantine_size_mb=64";
}
