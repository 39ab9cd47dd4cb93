#include "grundel/core/Texception.h"

#include <cstdio>

Texception::Texception(const char* message) noexcept {
    std::snprintf(fMessage, sizeof fMessage, "%s", message ? message : "");
}

const char* Texception::what() const noexcept { return fMessage; }

namespace {
struct MemoryMessage {
    char text[80];
    explicit MemoryMessage(std::size_t bytes) {
        std::snprintf(text, sizeof text, "out of memory: %zu bytes requested", bytes);
    }
};
} // namespace

TmemoryException::TmemoryException(std::size_t requestedBytes) noexcept
    : Texception(MemoryMessage(requestedBytes).text), fRequested(requestedBytes) {}

TincompatibleData::TincompatibleData(const char* message) noexcept : Texception(message) {}
