// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <thread>
#include <utility>

// Calls the function in a thread of its own, for whose end nobody waits. Throws std::system_error where the
// system has no further thread to give.
template <typename Function> void startDetached(Function function)
{
    // In libwinpthread a thread that ends while it is being detached crashes or hangs the program.
    std::promise<void> detached;
    std::thread([function = std::move(function), start = detached.get_future().share()]() mutable {
        start.wait();
        function();
    }).detach();
    detached.set_value();
}
