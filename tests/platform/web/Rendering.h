// A hook for tests, which remembers what it was asked.
#pragma once

#include "platform/web/HtmlRenderer.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace halden::test {

class RecordingDelegate : public ResourceLoadDelegate {
public:
    using Judge = std::function<bool(const Url&)>;
    explicit RecordingDelegate(Judge judge) : judge_(std::move(judge)) {}

    ResourceDecision willSendRequest(const Url& request, const std::optional<Url>&) override {
        asked.push_back(request.absoluteString());
        using Kind = ResourceDecision::Kind;
        return {.kind = judge_(request) ? Kind::allow : Kind::deny};
    }

    std::vector<std::u16string> asked;

private:
    Judge judge_;
};

}  // namespace halden::test
