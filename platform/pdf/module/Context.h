// MuPDF's context: its memory, its time, and its exceptions, which jump over C++ frames.
#pragma once

#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/module/Memory.h"

#include <mupdf/fitz.h>

#include <chrono>
#include <cstddef>

namespace halden::pdf {

/// A context with memory of its own that prints nothing.
///
/// Both limits work through the allocator: beyond them it gives nothing, which the engine reports as an error of the
/// work it is doing. Memory is the one thing that it asks for nearly wherever it is; where it only unpacks, its streams
/// look at the time. What the engine forgets to free, as it does on some paths through damaged documents, is freed with
/// the context.
class Context {
public:
    explicit Context(const PdfLimits& limits);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Null when there was no memory for one.
    [[nodiscard]] fz_context* get() const noexcept { return context_; }

    /// The one that an engine's context belongs to.
    [[nodiscard]] static Context& of(fz_context* engine) noexcept {
        return *static_cast<Context*>(fz_user_context(engine));
    }

    /// Bytes that the engine holds.
    [[nodiscard]] std::size_t heldMemory() const noexcept { return memory_.held(); }

    /// Starts the time that is allowed, for the call that begins.
    void beginCall() noexcept;

    /// Whether the call has used up its time. From then on it stays so until the next call begins.
    [[nodiscard]] bool isOutOfTime() noexcept;
    /// The same for what happens often: the clock is looked at once in many calls.
    [[nodiscard]] bool isOutOfTimeNowAndThen() noexcept;

    /// Which the engine is to be given when it runs a page, so that it also stops between operations.
    [[nodiscard]] fz_cookie* cookie() noexcept { return &cookie_; }

    /// Set while the text of a page is read, which nobody will see.
    bool isReadingText = false;

    /// Runs `body`; false when the engine threw inside. The engine throws by a jump: `body` must not own anything that
    /// needs a destructor, nor let C++ exceptions out. What it sets outside counts even when the engine throws
    /// afterwards: never inlined, so that no variable of the caller sits in a register that the jump restores.
    template <class Body>
    [[gnu::noinline]] bool attempt(Body body) noexcept {
        bool succeeded = false;
        fz_var(succeeded);
        fz_try(context_) {
            body(context_);
            succeeded = true;
        }
        fz_catch(context_) {
            succeeded = false;
        }
        return succeeded;
    }

private:
    using Clock = std::chrono::steady_clock;

    static void* allocate(void* self, std::size_t size);
    static void* reallocate(void* self, void* block, std::size_t size);
    static void release(void* self, void* block);

    const PdfLimits limits_;
    Memory memory_;
    unsigned requests_ = 0;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point end_;
    fz_cookie cookie_{};
    fz_alloc_context allocator_;
    fz_context* context_ = nullptr;
};

}  // namespace halden::pdf
