#pragma once

#include <gtest/gtest.h>

/// Skips a test that uses up all descriptors where the undefined-behaviour sanitizer is in: its check of an
/// object's type needs a descriptor to look at memory that it has not seen yet, and without one it calls
/// every object foreign.
#ifdef __SANITIZE_ADDRESS__ // that preset holds both
#define SKIP_UNLESS_DESCRIPTORS_ARE_OURS() GTEST_SKIP() << "the sanitizer needs descriptors of its own"
#else
#define SKIP_UNLESS_DESCRIPTORS_ARE_OURS() static_cast<void>(0)
#endif
