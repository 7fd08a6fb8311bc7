#include "platform/pdf/module/Context.h"

#include <algorithm>

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

Context::Context(const PdfLimits& limits)
    : limits_(limits), memory_(limits.memory), allocator_{this, allocate, reallocate, release} {
    beginCall();
    context_ = fz_new_context(&allocator_, nullptr, kStoreLimit);
    if (context_ == nullptr) return;
    fz_set_user_context(context_, this);
    fz_set_warning_callback(context_, ignoreMessage, nullptr);
    fz_set_error_callback(context_, ignoreMessage, nullptr);
}

Context::~Context() {
    fz_drop_context(context_);
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

void* Context::allocate(void* self, std::size_t size) {
    auto& context = *static_cast<Context*>(self);
    return context.isOutOfTimeNowAndThen() ? nullptr : context.memory_.allocate(size);
}

void* Context::reallocate(void* self, void* block, std::size_t size) {
    auto& context = *static_cast<Context*>(self);
    if (size > Memory::sizeOf(block) && context.isOutOfTimeNowAndThen()) return nullptr;
    return context.memory_.reallocate(block, size);
}

void Context::release(void* self, void* block) {
    static_cast<Context*>(self)->memory_.release(block);
}

}  // namespace halden::pdf
