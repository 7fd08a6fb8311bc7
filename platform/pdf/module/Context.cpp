#include "platform/pdf/module/Context.h"

#include <malloc.h>

#include <cstdlib>

namespace halden::pdf {
namespace {

// Decoded images and fonts that are kept for the next page.
constexpr std::size_t kStoreLimit = std::size_t{64} * 1024 * 1024;
// The clock is read once in so many requests for memory.
constexpr unsigned kRequestsBetweenLooks = 64;

void ignoreMessage(void*, const char*) {}

}  // namespace

Context::Context(const PdfLimits& limits) : limits_(limits), allocator_{this, allocate, reallocate, release} {
    beginCall();
    context_ = fz_new_context(&allocator_, nullptr, kStoreLimit);
    if (context_ == nullptr) return;
    fz_set_warning_callback(context_, ignoreMessage, nullptr);
    fz_set_error_callback(context_, ignoreMessage, nullptr);
}

Context::~Context() {
    fz_drop_context(context_);
}

void Context::beginCall() noexcept {
    cookie_ = {};
    requests_ = 0;
    if (limits_.seconds > 0) {
        end_ =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits_.seconds));
    }
}

bool Context::isOutOfTime() noexcept {
    if (limits_.seconds <= 0) return false;
    if (cookie_.abort == 0 && ++requests_ % kRequestsBetweenLooks == 0 && Clock::now() >= end_) cookie_.abort = 1;
    return cookie_.abort != 0;
}

void* Context::allocate(void* self, std::size_t size) {
    return reallocate(self, nullptr, size);
}

void* Context::reallocate(void* self, void* block, std::size_t size) {
    auto& context = *static_cast<Context*>(self);
    const std::size_t old = block != nullptr ? malloc_usable_size(block) : 0;
    // Blocks are a little larger than they were asked to be, so `used_` may lie above the limit.
    const std::size_t others = context.used_ - old;
    if (size > old && (others >= context.limits_.memory || size > context.limits_.memory - others)) return nullptr;
    if (size > old && context.isOutOfTime()) return nullptr;
    void* moved = std::realloc(block, size);
    if (moved != nullptr) context.used_ = others + malloc_usable_size(moved);
    return moved;
}

void Context::release(void* self, void* block) {
    if (block == nullptr) return;
    static_cast<Context*>(self)->used_ -= malloc_usable_size(block);
    std::free(block);
}

}  // namespace halden::pdf
