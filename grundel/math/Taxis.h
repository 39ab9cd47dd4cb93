#pragma once

/// A principal axis. Operations that take an axis leave their operand
/// unchanged for any other code.
enum Taxis : int { kXAxis = 0, kYAxis = 1, kZAxis = 2 };
