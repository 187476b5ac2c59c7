// The dynamic symbol tables of the libraries hold exactly the public API:
// every function of the family tables (read back with dlsym),
// the version getters and the core control functions.
#include <dlfcn.h>
#include <elf.h>

#include <fstream>
#include <iterator>
#include <set>

#include "test_support.h"
#include "zkri.h"
#include "zkrs.h"

namespace zkrtest {
namespace {

// Path of the shared object that defines `symbol`.
std::string libraryOf(const void* symbol) {
    Dl_info info{};
    if (!dladdr(symbol, &info) || !info.dli_fname) return {};
    return info.dli_fname;
}

// Names of the functions and objects a shared object exports (.dynsym,
// defined, global or weak binding, default or protected visibility).
std::set<std::string> exportedSymbols(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::set<std::string> names;
    if (file.size() < sizeof(Elf64_Ehdr)) return names;
    const auto* eh = reinterpret_cast<const Elf64_Ehdr*>(file.data());
    if (std::memcmp(eh->e_ident, ELFMAG, SELFMAG) != 0 || eh->e_ident[EI_CLASS] != ELFCLASS64) return names;
    const auto* sections = reinterpret_cast<const Elf64_Shdr*>(file.data() + eh->e_shoff);
    for (int s = 0; s < eh->e_shnum; ++s) {
        if (sections[s].sh_type != SHT_DYNSYM) continue;
        const char* strings = file.data() + sections[sections[s].sh_link].sh_offset;
        const auto* syms = reinterpret_cast<const Elf64_Sym*>(file.data() + sections[s].sh_offset);
        const std::size_t count = sections[s].sh_size / sizeof(Elf64_Sym);
        for (std::size_t i = 0; i < count; ++i) {
            const Elf64_Sym& sym = syms[i];
            const int bind = ELF64_ST_BIND(sym.st_info), type = ELF64_ST_TYPE(sym.st_info);
            const int vis = ELF64_ST_VISIBILITY(sym.st_other);
            if (sym.st_shndx == SHN_UNDEF || (bind != STB_GLOBAL && bind != STB_WEAK)) continue;
            if ((type != STT_FUNC && type != STT_OBJECT) || (vis != STV_DEFAULT && vis != STV_PROTECTED)) continue;
            names.insert(strings + sym.st_name);
        }
    }
    return names;
}

// Sanitizer builds add their own runtime hooks; everything else must be ZKR API.
std::set<std::string> withoutRuntimeHooks(std::set<std::string> names) {
    std::erase_if(names, [](const std::string& n) { return n.rfind("__", 0) == 0; });
    return names;
}

// Every row of the tables as data: its name and the address the header's declaration resolves to.
// (A table of values rather than a statement per row keeps this source quick to compile whatever
// the catalogue's size.)
struct TableRow {
    const char* name;
    const void* address;
};
const TableRow kTableRows[] = {
#define ZKR_FN(name, ...) {#name, reinterpret_cast<const void*>(&name)},
#define ZKR_FN_AUX(name, ...) ZKR_FN(name)
#include "zkri_tables.h"
#undef ZKR_FN
#undef ZKR_FN_AUX
};

TEST(Exports, ZkriExportsExactlyItsTablesAndItsVersionGetter) {
    std::set<std::string> expected = {"zkriGetLibVersion"};
    for (const TableRow& row : kTableRows) expected.insert(row.name);
    const std::size_t rows = std::size(kTableRows);
    EXPECT_EQ(expected.size(), rows + 1) << "a function is listed twice in the tables";
    EXPECT_GE(rows, 201u);

    const std::string path = libraryOf(reinterpret_cast<const void*>(&zkriGetLibVersion));
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(withoutRuntimeHooks(exportedSymbols(path)), expected);

    // Every row resolves by name to the function the header declares.
    void* lib = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(lib, nullptr) << dlerror();
    for (const TableRow& row : kTableRows) EXPECT_EQ(dlsym(lib, row.name), row.address) << row.name;
    dlclose(lib);
}

TEST(Exports, ZkrcoreExportsOnlyTheControlApi) {
    const std::set<std::string> expected = {
        "zkrcoreGetLibVersion", "zkrInit",           "zkrInitCpu",          "zkrGetCpuType",
        "zkrGetDispatchLevel",  "zkrGetDispatchLevelName", "zkrSetNumThreads", "zkrGetNumThreads",
        "zkrGetStatusString",   "zkrGetNumCoresOnDie", "zkrGetMaxCacheSizeB"};
    const std::string path = libraryOf(reinterpret_cast<const void*>(&zkrInit));
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(withoutRuntimeHooks(exportedSymbols(path)), expected);
}

TEST(Exports, ZkrsExportsItsTable) {
    std::set<std::string> expected = {"zkrsGetLibVersion"};
#define ZKRS_NAME(base, t, s) expected.insert("zkrs" #base "_" #t #s);
    ZKRS_BINARY_FUNCS(ZKRS_NAME)
    ZKRS_CONST_FUNCS(ZKRS_NAME)
    EXPECT_EQ(expected.size(), 13u);
    EXPECT_TRUE(expected.count("zkrsAdd_16s_Sfs") && expected.count("zkrsAddC_32f"));
    const std::string path = libraryOf(reinterpret_cast<const void*>(&zkrsGetLibVersion));
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(withoutRuntimeHooks(exportedSymbols(path)), expected);
}

}  // namespace
}  // namespace zkrtest
