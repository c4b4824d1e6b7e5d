#pragma once

#include <functional>
#include <thread>

namespace zrhost {

// A thread that no signal is delivered to: those of the process are for the threads that the program made. Throws
// std::system_error when there can be no thread.
std::thread quietThread(std::function<void()> run);

}  // namespace zrhost
