// The process's 16-bit console streams over std::cin, std::cout, std::cerr and
// std::clog, in the default charset and lenient: a character that does not convert is
// written as an escape rather than stopping the output.
//
//   get_ztcout() << Fnd_String(u"ready") << std::endl;
//
// The streams are made at the first call and flushed and destroyed at process exit.
#pragma once

#include <iostream>

#include "foundation/streams/ztstream.h"

// A console buffer over the byte buffer of a standard stream, with its 16-bit stream.
template <class Stream, class Byte_Stream>
class ztconsolebuf : public ztstreambuf {
public:
    explicit ztconsolebuf(Byte_Stream& Bytes) : ztstreambuf(Bytes.rdbuf(), false) {
        Console_Stream.rdbuf(this);
    }
    Stream& stream() { return Console_Stream; }

private:
    Stream Console_Stream;
};

using ztcibuf = ztconsolebuf<ztistream, std::istream>;
using ztcobuf = ztconsolebuf<ztostream, std::ostream>;

class ztstreams {
public:
    // The process's streams, made at the first call.
    static ztstreams* get();

    ztstreams(const ztstreams&) = delete;
    ztstreams& operator=(const ztstreams&) = delete;

    ztistream& in() { return Input.stream(); }
    ztostream& out() { return Output.stream(); }
    ztostream& err() { return Error.stream(); }
    ztostream& log() { return Log.stream(); }

private:
    friend class ztstreamsGuard;
    ztstreams();
    ~ztstreams() = default;
    void flush();

    // Destroyed in the reverse order: log, error, output, input.
    ztcibuf Input;
    ztcobuf Output;
    ztcobuf Error;
    ztcobuf Log;
};

// Owns the process's ztstreams and disposes of them at exit.
class ztstreamsGuard {
public:
    static ztstreamsGuard& get();
    // A different pointer first flushes and destroys the streams held.
    void setztstreamsptr(ztstreams* Streams);
    ~ztstreamsGuard();

private:
    ztstreamsGuard() = default;
    ztstreams* Streams = nullptr;
};

ztistream& get_ztcin();
ztostream& get_ztcout();
ztostream& get_ztcerr();
ztostream& get_ztclog();
