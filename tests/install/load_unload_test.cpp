// A host program that loads the library when it needs it and unloads it afterwards.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include "support/process_memory.hpp"

namespace {

using activeset::test::IsSanitized;
using activeset::test::MemorySlack;
using activeset::test::ProcessMemory;

/// A module that uses the library. It is loaded as long as this object lives.
class Module {
public:
    Module() : handle_(dlopen(ACTIVESET_MODULE, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(handle_, nullptr) << dlerror();
    }
    ~Module() { dlclose(handle_); }
    Module(const Module&) = delete;
    Module(Module&&) = delete;
    Module& operator=(const Module&) = delete;
    Module& operator=(Module&&) = delete;

    void solve(int n, int blasThreads) const {
        const auto solve = reinterpret_cast<double (*)(int, int)>(dlsym(handle_, "loadedSolve"));
        EXPECT_NEAR(solve(n, blasThreads), -0.5 * n / (n + 1.0), 1e-14);
    }

private:
    void* handle_;
};

bool isLibraryLoaded() {
    std::ifstream maps("/proc/self/maps");
    const std::string text{std::istreambuf_iterator<char>(maps), {}};
    return text.find("libactiveset.so") != std::string::npos;
}

size_t threads() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                             std::filesystem::directory_iterator()));
}

// Half of the cycles solve problems, some so large that BLAS uses several threads. A sanitizer
// records every global variable of every loaded library for ever, about 1.4 MB a cycle. It finds
// leaks itself.
TEST(LoadAndUnload, AThousandTimesLeavesNothingInTheProcess) {
    const int cycles = IsSanitized ? 400 : 1000;
    ProcessMemory warm;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        {
            const Module module;
            ASSERT_EQ(threads(), 1U) << "started by the library when it was loaded";
            if (cycle % 2 == 0) {
                const bool isLarge = cycle % 20 == 0;
                std::thread([&] { module.solve(isLarge ? 150 : 3, isLarge ? 2 : 1); }).join();
            }
        }
        ASSERT_FALSE(isLibraryLoaded()) << "cycle " << cycle;
        ASSERT_EQ(threads(), 1U) << "cycle " << cycle;
        if (cycle == cycles / 4) {
            warm = ProcessMemory::now();
        }
    }
    EXPECT_LE(ProcessMemory::now().resident, warm.resident + MemorySlack);
    EXPECT_LE(ProcessMemory::now().mapped, warm.mapped + MemorySlack);
}

// The thread's state is destroyed when the thread ends, so the library must stay until then.
TEST(LoadAndUnload, TheLibraryStaysForAThreadThatHasSolved) {
    std::promise<void> unloaded;
    std::promise<void> solved;
    std::thread worker;
    {
        const Module module;
        worker = std::thread([&] {
            module.solve(3, 1);
            solved.set_value();
            unloaded.get_future().wait();
        });
        solved.get_future().wait();
    }
    EXPECT_TRUE(isLibraryLoaded());
    unloaded.set_value();
    worker.join();
    { const Module again; }
    EXPECT_FALSE(isLibraryLoaded());
}

}  // namespace
