#pragma once

#include "grundel/core/Tapi.h"

#include <cstddef>
#include <exception>

/// Root of the library's two exceptions. Everything else reports failure
/// through results; see TmemoryException and TincompatibleData.
class GRUNDEL_API Texception : public std::exception {
public:
    /// Keeps a copy of message, cut to the first 127 bytes.
    explicit Texception(const char* message) noexcept;
    const char* what() const noexcept override;

private:
    char fMessage[128];
};

/// Raised when a container cannot get the storage it needs.
class GRUNDEL_API TmemoryException : public Texception {
public:
    explicit TmemoryException(std::size_t requestedBytes) noexcept;
    /// The size of the request that failed, in bytes.
    std::size_t requestedBytes() const noexcept { return fRequested; }

private:
    std::size_t fRequested;
};

/// Raised when typed values of incompatible kinds meet.
class GRUNDEL_API TincompatibleData : public Texception {
public:
    explicit TincompatibleData(const char* message = "incompatible data") noexcept;
};
