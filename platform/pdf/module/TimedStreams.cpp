// The engine's streams, made here instead of there so that unpacking ends in time.
//
// A few kilobytes that were packed several times over unpack to more blanks than anybody can wait for, and skipping
// blanks takes no memory, so that the allocator never sees it. Every stream is read through its function for the next
// bytes, a block at a time: that is where the time is looked at. The linker puts this function in the place of the
// engine's own (--wrap).
#include "platform/pdf/module/Context.h"

namespace halden::pdf {
namespace {

/// What the engine sees is the stream at its start, which it also frees.
struct TimedStream {
    fz_stream stream;
    fz_stream_next_fn* next;
};

int nextBytesInTime(fz_context* engine, fz_stream* stream, std::size_t most) {
    // To the engine it is as if the bytes ended.
    if (Context::of(engine).isOutOfTime()) return EOF;
    return reinterpret_cast<TimedStream*>(stream)->next(engine, stream, most);
}

}  // namespace
}  // namespace halden::pdf

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" fz_stream* __wrap_fz_new_stream(fz_context* engine, void* state, fz_stream_next_fn* next,
                                           fz_stream_drop_fn* drop);

extern "C" fz_stream* __wrap_fz_new_stream(fz_context* engine, void* state, fz_stream_next_fn* next,
                                           fz_stream_drop_fn* drop) {
    using halden::pdf::TimedStream;
    auto* timed = static_cast<TimedStream*>(fz_calloc_no_throw(engine, 1, sizeof(TimedStream)));
    if (timed == nullptr) {
        // The state is the stream's from here on, whether or not there is a stream.
        if (drop != nullptr) drop(engine, state);
        fz_throw(engine, FZ_ERROR_MEMORY, "no memory for a stream");
    }
    timed->stream.refs = 1;
    timed->stream.state = state;
    timed->stream.drop = drop;
    timed->stream.next = halden::pdf::nextBytesInTime;
    timed->next = next;
    return &timed->stream;
}
// NOLINTEND(bugprone-reserved-identifier)
