#pragma once

// Reading the small text files of the environment and the settings store.

#include <cstddef>
#include <string>

namespace grundel::detail {

/// What readTextFile found.
enum class TextFileRead { ok, missing, failed };

/// Reads the whole regular file at path into text, never more than limit
/// bytes however the file changes meanwhile. missing: nothing of that name
/// (or a missing directory on the way). failed: any other error, not a
/// regular file, or longer than limit. text is empty unless ok.
TextFileRead readTextFile(const char* path, std::size_t limit, std::string& text);

} // namespace grundel::detail
