#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace utils {

/// Whoever holds it stays registered; at its end, they are registered no more. One made from nothing
/// registers nobody.
class [[nodiscard]] Registration
{
public:
    Registration() = default;
    /// Of what lives as long as this does.
    explicit Registration(std::shared_ptr<const void> registered)
        : m_registered(std::move(registered))
    {}
    /// Goes over to the new one.
    Registration(Registration&&) noexcept = default;
    /// Ends the one held so far, and takes the other over.
    Registration& operator=(Registration&&) noexcept = default;
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration() = default;

private:
    std::shared_ptr<const void> m_registered;
};

/// All of a kind that are registered at the same time. Threads may share it.
template <typename Value>
class Registry
{
public:
    /// Registers it beside the others.
    Registration add(Value value)
    {
        auto added = std::make_shared<const Value>(std::move(value));
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_all, [](const auto& one) { return one.expired(); });
        m_all.push_back(added);
        return Registration(std::move(added));
    }

    /// In the order of their coming; each lives at least as long as the list does.
    [[nodiscard]] std::vector<std::shared_ptr<const Value>> all() const
    {
        std::vector<std::shared_ptr<const Value>> found;
        const std::lock_guard lock(m_mutex);
        for (const auto& one : m_all) {
            if (auto present = one.lock())
                found.push_back(std::move(present));
        }
        return found;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::weak_ptr<const Value>> m_all;
};

/// The place of one of a kind: a second one is turned away instead of pushing the first out unseen. Used by
/// one thread.
template <typename Value>
class Slot
{
public:
    /// `name` says what there is one of.
    explicit Slot(std::string name)
        : m_name(std::move(name))
    {}

    /// Throws std::logic_error, with the slot's name, while another is registered.
    Registration take(Value value)
    {
        if (!m_taken.expired())
            throw std::logic_error("There is a " + m_name + " already, and only one at a time");
        auto taken = std::make_shared<const Value>(std::move(value));
        m_taken = taken;
        return Registration(std::move(taken));
    }

    /// What is registered; nothing: nobody is.
    [[nodiscard]] std::optional<Value> value() const
    {
        const auto taken = m_taken.lock();
        return taken ? std::optional<Value>(*taken) : std::nullopt;
    }

private:
    std::string m_name;
    std::weak_ptr<const Value> m_taken;
};

} // namespace utils
