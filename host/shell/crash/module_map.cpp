#include "module_map.h"

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace {

std::string programPath() {
    std::array<char, 4096> path{};
    const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
    return size > 0 ? std::string(path.data(), static_cast<std::size_t>(size)) : "program";
}

int takeModule(dl_phdr_info* info, std::size_t, void* list) {
    ModuleMap::Module module;
    module.base = info->dlpi_addr;
    module.begin = UINTPTR_MAX;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD) {
            const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
            module.begin = std::min(module.begin, begin);
            module.end = std::max<std::uintptr_t>(module.end, begin + part.p_memsz);
        }
    }
    // The program itself has no name here.
    const bool isNamed = info->dlpi_name && *info->dlpi_name;
    module.name = moduleName(isNamed ? std::string(info->dlpi_name) : programPath());
    if (module.begin < module.end) {
        static_cast<std::vector<ModuleMap::Module>*>(list)->push_back(module);
    }
    return 0;
}

}  // namespace

std::string moduleName(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    for (char& character : name) {
        const bool isControl = static_cast<unsigned char>(character) < ' ';
        character = isControl || character == '"' || character == '\\' ? '_' : character;
    }
    return name;
}

ModuleMap ModuleMap::ofProcess() {
    std::vector<Module> modules;
    dl_iterate_phdr(takeModule, &modules);
    return ModuleMap(std::move(modules));
}

const ModuleMap::Module* ModuleMap::find(std::uintptr_t address) const {
    for (const Module& module : m_modules) {
        if (address >= module.begin && address < module.end) {
            return &module;
        }
    }
    return nullptr;
}
