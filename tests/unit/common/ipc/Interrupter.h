#pragma once

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <pthread.h>
#include <stop_token>
#include <thread>

/// Interrupts a thread by one signal after the other for as long as the object lives. The thread may end
/// before, but is joined after. The handler stays, for a signal that is still on its way at the end.
class Interrupter {
public:
    explicit Interrupter(pthread_t target) {
        struct sigaction action {};
        action.sa_handler = [](int /*number*/) {}; // and no SA_RESTART: what waits is to notice
        EXPECT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
        m_sender = std::jthread([target](const std::stop_token& stop) {
            constexpr auto kPause = std::chrono::milliseconds(2);
            while (!stop.stop_requested()) {
                static_cast<void>(::pthread_kill(target, SIGUSR1)); // fails only when the thread has ended
                std::this_thread::sleep_for(kPause);
            }
        });
    }
    Interrupter(const Interrupter&) = delete;
    Interrupter& operator=(const Interrupter&) = delete;

private:
    std::jthread m_sender;
};
