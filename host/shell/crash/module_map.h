#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Which program or library an address belongs to. Made in advance; a signal handler may then ask
/// it.
class ModuleMap {
public:
    struct Module {
        std::uintptr_t base = 0;  ///< what the addresses in the module's file are added to
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        /// The file's name without its folder. Characters that JSON would escape are "_".
        std::string name;
    };

    /// What the process has loaded at present. Allocates; not for a signal handler.
    static ModuleMap ofProcess();

    explicit ModuleMap(std::vector<Module> modules) : m_modules(std::move(modules)) {}

    /// Null for an address outside of all modules.
    const Module* find(std::uintptr_t address) const;
    const std::vector<Module>& modules() const { return m_modules; }

private:
    std::vector<Module> m_modules;
};

/// A file's name as a Module has it.
std::string moduleName(const std::string& path);
