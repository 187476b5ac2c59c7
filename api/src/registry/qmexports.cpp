#include "qmexports.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

bool qmElfExports(const qmString& path, const qmString& prefix, qmList<qmString>& names) {
    std::ifstream in(path.c_str(), std::ios::binary);
    if (!in) return false;
    std::vector<char> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto within = [&](size_t off, size_t len) { return off <= file.size() && len <= file.size() - off; };
    if (!within(0, sizeof(Elf64_Ehdr)) || std::memcmp(file.data(), ELFMAG, SELFMAG) != 0 ||
        file[EI_CLASS] != ELFCLASS64)
        return false;
    Elf64_Ehdr eh;
    std::memcpy(&eh, file.data(), sizeof eh);
    if (eh.e_shentsize != sizeof(Elf64_Shdr) || !within(eh.e_shoff, size_t(eh.e_shnum) * sizeof(Elf64_Shdr)))
        return false;
    std::vector<Elf64_Shdr> sections(eh.e_shnum);
    std::memcpy(sections.data(), file.data() + eh.e_shoff, sections.size() * sizeof(Elf64_Shdr));

    std::set<std::string> found;
    for (const Elf64_Shdr& sh : sections) {
        if (sh.sh_type != SHT_DYNSYM || sh.sh_link >= sections.size() || sh.sh_entsize != sizeof(Elf64_Sym)) continue;
        const Elf64_Shdr& strtab = sections[sh.sh_link];
        if (!within(sh.sh_offset, sh.sh_size) || !within(strtab.sh_offset, strtab.sh_size)) return false;
        for (size_t i = 0; i < sh.sh_size / sizeof(Elf64_Sym); ++i) {
            Elf64_Sym sym;
            std::memcpy(&sym, file.data() + sh.sh_offset + i * sizeof sym, sizeof sym);
            if (sym.st_shndx == SHN_UNDEF || ELF64_ST_TYPE(sym.st_info) != STT_FUNC) continue;
            const int bind = ELF64_ST_BIND(sym.st_info);
            if ((bind != STB_GLOBAL && bind != STB_WEAK) || sym.st_name >= strtab.sh_size) continue;
            const char* s = file.data() + strtab.sh_offset + sym.st_name;
            const size_t maxLen = strtab.sh_size - sym.st_name;
            std::string name(s, strnlen(s, maxLen));
            if (name.starts_with(prefix.str())) found.insert(name);
        }
    }
    for (const auto& n : found) names.append(qmString(n));
    return true;
}

qmList<qmString> qmLibraryExports() {
    std::vector<std::string> paths;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            const qmString path = info->dlpi_name ? info->dlpi_name : "";
            if (path.fileName().startsWith("libzkr")) static_cast<std::vector<std::string>*>(data)->push_back(path.str());
            return 0;
        },
        &paths);
    std::set<std::string> all;
    for (const auto& p : paths) {
        qmList<qmString> names;
        if (qmElfExports(p, "zkr", names))
            for (const auto& n : names) all.insert(n.str());
    }
    qmList<qmString> out;
    for (const auto& n : all) out.append(qmString(n));
    return out;
}
