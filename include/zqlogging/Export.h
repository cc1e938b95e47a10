#pragma once

/// Marks what the shared library exports; everything else is hidden.
#define ZQ_EXPORT __attribute__((visibility("default")))
