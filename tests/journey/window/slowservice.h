#pragma once

#include "tests/support/httpserver.h"

#include <chrono>

namespace windowtest {

/// A service that takes its time for its one answer, and knows nobody.
class SlowService
{
public:
    explicit SlowService(std::chrono::milliseconds delay = std::chrono::milliseconds(600))
    {
        auto answer = test_support::HttpAnswer::status(404, R"({"errors":[{"message":"Карты нет"}]})");
        answer.delay = delay;
        m_server.enqueue(answer);
    }
    [[nodiscard]] QString url() const { return m_server.url().toString(); }
    [[nodiscard]] qsizetype requests() const { return m_server.requests().size(); }

private:
    test_support::HttpServer m_server;
};

} // namespace windowtest
