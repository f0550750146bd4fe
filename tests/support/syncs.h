#pragma once

namespace test_support {

/// How often this process has waited for a disk since this was made, by fsync or fdatasync, whichever library
/// called them.
class Syncs
{
public:
    Syncs();
    [[nodiscard]] int count() const;

private:
    int m_before;
};

} // namespace test_support
