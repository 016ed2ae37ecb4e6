// Opens an instrument on a separate thread: a port that opens but never answers would keep the
// program waiting.
#include <cqapi/CQApi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

int main(int argc, char** argv) {
    using namespace std::chrono_literals;
    const std::string port = argc > 1 ? argv[1] : "";
    std::packaged_task<CqHandle()> open([port] { return cqOpen(port.c_str()); });
    std::future<CqHandle> opened = open.get_future();
    std::thread opening(std::move(open));

    if (opened.wait_for(5s) != std::future_status::ready) {
        std::puts("nothing answers on this port");
        std::fflush(stdout);
        std::_Exit(1);  // the thread cannot be stopped; a host with a window would go on without it
    }
    opening.join();
    CqHandle instrument = opened.get();
    std::puts(instrument != nullptr ? "connected" : "no instrument");
    cqClose(instrument);
    return instrument != nullptr ? 0 : 1;
}
