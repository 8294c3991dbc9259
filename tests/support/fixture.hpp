// The conditions before and after every test: fresh per-thread state, nothing alive.
#ifndef ACTIVESET_TESTS_SUPPORT_FIXTURE_HPP
#define ACTIVESET_TESTS_SUPPORT_FIXTURE_HPP

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "activeset/host.hpp"
#include "activeset/matrix.hpp"
#include "thread_state.hpp"

namespace activeset::test {

/// Captures standard output while it lives.
class CapturedOutput {
public:
    CapturedOutput() : previous_(std::cout.rdbuf(text_.rdbuf())) {}
    ~CapturedOutput() { std::cout.rdbuf(previous_); }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput(CapturedOutput&&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    CapturedOutput& operator=(CapturedOutput&&) = delete;

    [[nodiscard]] std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* previous_;
};

/// Base class of the fixtures. Objects that use the library live inside the test body, so that they
/// no longer exist when TearDown checks.
class FreshState : public ::testing::Test {
protected:
    void SetUp() override {
        releaseMatrixPool();
        threadState().sizes = {};
        threadState().workingSet = {};
        threadState().lastSolve = {};
        utInterruptState::flags_pending = 0;
        liveBlocks_ = liveBlockCount();
        liveArrays_ = liveArrayCount();
        scope_ = std::make_unique<CallScope>();
    }

    void TearDown() override {
        scope_.reset();
        releaseMatrixPool();
        EXPECT_EQ(liveArrayCount(), liveArrays_) << "host arrays left alive";
        EXPECT_EQ(liveBlockCount(), liveBlocks_) << "host memory left alive";
        EXPECT_EQ(utInterruptMode::depth(), 0) << "interrupt mode not left";
        EXPECT_EQ(threadState().innermostScope, nullptr) << "a scope was left open";
    }

private:
    std::int64_t liveBlocks_ = 0;
    std::int64_t liveArrays_ = 0;
    std::unique_ptr<CallScope> scope_;
};

}  // namespace activeset::test

#endif
