#pragma once

#include <QByteArray>

#include <gtest/gtest.h>

namespace test_support {

/// Whether the bytes are those of tests/golden/NAME (less the file's final line feed). A mismatch says where
/// they part and shows both as readable JSON. With KYR_UPDATE_GOLDEN set in the environment the file is
/// written instead and the test fails, so that nobody updates by accident.
testing::AssertionResult matchesGolden(const QByteArray& bytes, const char* name);

} // namespace test_support
