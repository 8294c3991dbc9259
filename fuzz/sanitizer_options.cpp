// What the address sanitizer asks when a target starts; without a sanitizer nobody does. Requests
// that are too large come back empty, as the library expects of its allocator. Short stacks and a
// small quarantine leave more time for inputs.
extern "C" const char* __asan_default_options();  // NOLINT(bugprone-reserved-identifier)

// A definition of its own, not an inline one: the sanitizer's is weak, but comes first.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1:max_allocation_size_mb=256:malloc_context_size=8:"
           "quarantine_size_mb=64";
}
