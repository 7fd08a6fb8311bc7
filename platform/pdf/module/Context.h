// MuPDF's context: its memory, and its exceptions, which jump over C++ frames.
#pragma once

#include <mupdf/fitz.h>

#include <cstddef>

namespace halden::pdf {

/// A context with memory of its own, limited to 512 MB, that prints nothing.
class Context {
public:
    Context();
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// Null when there was no memory for one.
    [[nodiscard]] fz_context* get() const noexcept { return context_; }

    /// Runs `body`; false when the engine threw inside. The engine throws by a jump: `body` must not own anything that
    /// needs a destructor, nor let C++ exceptions out.
    template <class Body>
    bool attempt(Body body) noexcept {
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
    static void* allocate(void* self, std::size_t size);
    static void* reallocate(void* self, void* block, std::size_t size);
    static void release(void* self, void* block);

    std::size_t used_ = 0;
    fz_alloc_context allocator_;
    fz_context* context_ = nullptr;
};

}  // namespace halden::pdf
