#include "platform/pdf/module/Context.h"

#include <malloc.h>

#include <cstdlib>

namespace halden::pdf {
namespace {

// Enough for every honest document; a decompression bomb fails in a millisecond instead of filling the machine.
constexpr std::size_t kMemoryLimit = 512U * 1024 * 1024;
// Decoded images and fonts that are kept for the next page.
constexpr std::size_t kStoreLimit = 64U * 1024 * 1024;

void ignoreMessage(void*, const char*) {}

}  // namespace

Context::Context() : allocator_{this, allocate, reallocate, release} {
    context_ = fz_new_context(&allocator_, nullptr, kStoreLimit);
    if (context_ == nullptr) return;
    fz_set_warning_callback(context_, ignoreMessage, nullptr);
    fz_set_error_callback(context_, ignoreMessage, nullptr);
}

Context::~Context() {
    fz_drop_context(context_);
}

void* Context::allocate(void* self, std::size_t size) {
    return reallocate(self, nullptr, size);
}

void* Context::reallocate(void* self, void* block, std::size_t size) {
    auto& context = *static_cast<Context*>(self);
    const std::size_t old = block != nullptr ? malloc_usable_size(block) : 0;
    if (size > old && size - old > kMemoryLimit - context.used_) return nullptr;
    void* moved = std::realloc(block, size);
    if (moved != nullptr) context.used_ = context.used_ - old + malloc_usable_size(moved);
    return moved;
}

void Context::release(void* self, void* block) {
    if (block == nullptr) return;
    static_cast<Context*>(self)->used_ -= malloc_usable_size(block);
    std::free(block);
}

}  // namespace halden::pdf
