#include "foundation/streams/ztconsole.h"

#include <atomic>
#include <mutex>

namespace {

std::atomic<ztstreams*> the_ztstreams{nullptr};
// Set once the guard is gone at exit: streams made after that live until the end.
std::atomic<bool> guard_destroyed{false};

std::mutex& Creation_Lock() {
    static std::mutex lock;
    return lock;
}

}  // namespace

ztstreams::ztstreams() : Input(std::cin), Output(std::cout), Error(std::cerr), Log(std::clog) {
    in().tie(&out());
    err().setf(std::ios_base::unitbuf);
}

void ztstreams::flush() {
    out().flush();
    err().flush();
    log().flush();
}

ztstreams* ztstreams::get() {
    if (ztstreams* streams = the_ztstreams.load(std::memory_order_acquire)) return streams;
    std::lock_guard<std::mutex> hold(Creation_Lock());
    if (ztstreams* streams = the_ztstreams.load(std::memory_order_relaxed)) return streams;
    auto* streams = new ztstreams;
    if (guard_destroyed.load())
        the_ztstreams.store(streams, std::memory_order_release);
    else
        ztstreamsGuard::get().setztstreamsptr(streams);
    return streams;
}

ztstreamsGuard& ztstreamsGuard::get() {
    static ztstreamsGuard guard;
    return guard;
}

void ztstreamsGuard::setztstreamsptr(ztstreams* New_Streams) {
    if (New_Streams != Streams && Streams) {
        Streams->flush();
        delete Streams;
    }
    Streams = New_Streams;
    the_ztstreams.store(New_Streams, std::memory_order_release);
}

ztstreamsGuard::~ztstreamsGuard() {
    setztstreamsptr(nullptr);
    guard_destroyed.store(true);
}

ztistream& get_ztcin() { return ztstreams::get()->in(); }
ztostream& get_ztcout() { return ztstreams::get()->out(); }
ztostream& get_ztcerr() { return ztstreams::get()->err(); }
ztostream& get_ztclog() { return ztstreams::get()->log(); }
