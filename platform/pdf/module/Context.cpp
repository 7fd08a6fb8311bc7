#include "platform/pdf/module/Context.h"

#include <algorithm>
#include <cstdlib>

namespace halden::pdf {
namespace {

// Decoded images and fonts that are kept for the next page.
constexpr std::size_t kStoreLimit = std::size_t{64} * 1024 * 1024;
// The clock is read once in so many requests for memory.
constexpr unsigned kRequestsBetweenLooks = 64;

// What a call gets after all the time is used up, so that the little that is asked at the end is still answered.
constexpr std::chrono::seconds kLeastOfACall{1};

std::chrono::steady_clock::duration durationOf(double seconds) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
}

void ignoreMessage(void*, const char*) {}

}  // namespace

Context::Context(const PdfLimits& limits) : limits_(limits), allocator_{this, allocate, reallocate, release} {
    beginCall();
    context_ = fz_new_context(&allocator_, nullptr, kStoreLimit);
    if (context_ == nullptr) return;
    fz_set_user_context(context_, this);
    fz_set_warning_callback(context_, ignoreMessage, nullptr);
    fz_set_error_callback(context_, ignoreMessage, nullptr);
}

Context::~Context() {
    fz_drop_context(context_);
    while (blocks_ != nullptr) {
        Block* next = blocks_->next;
        std::free(blocks_);
        blocks_ = next;
    }
}

void Context::beginCall() noexcept {
    cookie_ = {};
    requests_ = 0;
    const Clock::time_point now = Clock::now();
    end_ = limits_.seconds > 0 ? now + durationOf(limits_.seconds) : Clock::time_point::max();
    if (limits_.secondsInAll > 0)
        end_ = std::min(end_, std::max(start_ + durationOf(limits_.secondsInAll), now + kLeastOfACall));
}

bool Context::isOutOfTime() noexcept {
    if (end_ == Clock::time_point::max()) return false;
    if (cookie_.abort == 0 && Clock::now() >= end_) cookie_.abort = 1;
    return cookie_.abort != 0;
}

bool Context::isOutOfTimeNowAndThen() noexcept {
    return cookie_.abort != 0 || (++requests_ % kRequestsBetweenLooks == 0 && isOutOfTime());
}

void Context::link(Block* block) noexcept {
    block->previous = nullptr;
    block->next = blocks_;
    if (blocks_ != nullptr) blocks_->previous = block;
    blocks_ = block;
    used_ += block->size;
}

void Context::unlink(const Block* block) noexcept {
    (block->previous != nullptr ? block->previous->next : blocks_) = block->next;
    if (block->next != nullptr) block->next->previous = block->previous;
    used_ -= block->size;
}

void* Context::allocate(void* self, std::size_t size) {
    return reallocate(self, nullptr, size);
}

void* Context::reallocate(void* self, void* memory, std::size_t size) {
    auto& context = *static_cast<Context*>(self);
    Block* block = memory != nullptr ? static_cast<Block*>(memory) - 1 : nullptr;
    if (size > SIZE_MAX - sizeof(Block)) return nullptr;
    const std::size_t total = sizeof(Block) + size;
    const std::size_t old = block != nullptr ? block->size : 0;
    if (total > old && (total - old > context.limits_.memory - context.used_ || context.isOutOfTimeNowAndThen()))
        return nullptr;
    if (block != nullptr) context.unlink(block);
    auto* moved = static_cast<Block*>(std::realloc(block, total));
    if (moved == nullptr) {
        if (block != nullptr) context.link(block);
        return nullptr;
    }
    moved->size = total;
    context.link(moved);
    return moved + 1;
}

void Context::release(void* self, void* memory) {
    if (memory == nullptr) return;
    Block* block = static_cast<Block*>(memory) - 1;
    static_cast<Context*>(self)->unlink(block);
    std::free(block);
}

}  // namespace halden::pdf
