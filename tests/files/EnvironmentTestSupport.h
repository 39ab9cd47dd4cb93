#pragma once

#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Saves the named process variables, unsets them, and puts them back as
// they were when it goes.
class SavedEnvironment {
public:
    SavedEnvironment(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            const char* value = std::getenv(name);
            fSaved.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
            ::unsetenv(name);
        }
    }
    ~SavedEnvironment() {
        for (const auto& [name, value] : fSaved) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }
    SavedEnvironment(const SavedEnvironment&) = delete;
    SavedEnvironment& operator=(const SavedEnvironment&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> fSaved;
};
