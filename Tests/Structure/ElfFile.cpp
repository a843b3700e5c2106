#include "ElfFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Structure {

namespace {

class Image {
public:
    explicit Image(const std::filesystem::path& file) {
        std::error_code missing;
        bytes_.resize(std::filesystem::is_regular_file(file, missing) ? std::filesystem::file_size(file) : 0);
        std::ifstream(file, std::ios::binary)
            .read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
    }

    /// `count` records from `offset` on.
    template <typename Record>
    std::vector<Record> recordsAt(std::size_t offset, std::size_t count) const {
        if (offset > bytes_.size() || count > (bytes_.size() - offset) / sizeof(Record))
            throw NotElf("a record lies outside of the file");
        std::vector<Record> records(count);
        std::memcpy(records.data(), bytes_.data() + offset, count * sizeof(Record));
        return records;
    }

    /// How often `sign` stands in the `count` bytes from `offset` on.
    std::size_t countOf(std::string_view sign, std::size_t offset, std::size_t count) const {
        const std::vector<char> part = recordsAt<char>(offset, count);
        const std::string_view bytes(part.data(), part.size());
        std::size_t found = 0;
        for (auto at = bytes.find(sign); at != bytes.npos; at = bytes.find(sign, at + sign.size()))
            ++found;
        return found;
    }

    std::string textAt(std::size_t offset) const {
        if (offset > bytes_.size())
            throw NotElf("a text lies outside of the file");
        const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
        return {begin, std::find(begin, bytes_.end(), '\0')};
    }

private:
    std::vector<char> bytes_;
};

void readSegments(const Image& image, const Elf64_Ehdr& header, ElfFile& elf) {
    for (const auto& segment : image.recordsAt<Elf64_Phdr>(header.e_phoff, header.e_phnum)) {
        elf.hasInterpreter |= segment.p_type == PT_INTERP;
        elf.hasRelro |= segment.p_type == PT_GNU_RELRO;
        if (segment.p_type != PT_GNU_STACK)
            continue;
        elf.namesStack = true;
        elf.stackIsExecutable = (segment.p_flags & PF_X) != 0;
    }
}

void addElements(const std::string& path, std::vector<std::string>& elements) {
    std::size_t begin = 0;
    for (std::size_t end = 0; end != path.size(); begin = end + 1) {
        end = std::min(path.find(':', begin), path.size());
        elements.push_back(path.substr(begin, end - begin));
    }
}

void readDynamicEntries(const Image& image, const Elf64_Shdr& section, const Elf64_Shdr& names,
                        ElfFile& elf) {
    for (const auto& entry :
         image.recordsAt<Elf64_Dyn>(section.sh_offset, section.sh_size / sizeof(Elf64_Dyn))) {
        if (entry.d_tag == DT_FLAGS)
            elf.bindsNow |= (entry.d_un.d_val & DF_BIND_NOW) != 0;
        if (entry.d_tag == DT_FLAGS_1) {
            elf.bindsNow |= (entry.d_un.d_val & DF_1_NOW) != 0;
            elf.saysPie = (entry.d_un.d_val & DF_1_PIE) != 0;
        }
        if (entry.d_tag == DT_NEEDED)
            elf.needed.push_back(image.textAt(names.sh_offset + entry.d_un.d_val));
        if (entry.d_tag == DT_RPATH || entry.d_tag == DT_RUNPATH)
            addElements(image.textAt(names.sh_offset + entry.d_un.d_val), elf.runPath);
    }
}

void readImports(const Image& image, const Elf64_Shdr& symbols, const Elf64_Shdr& names, ElfFile& elf) {
    for (const auto& symbol :
         image.recordsAt<Elf64_Sym>(symbols.sh_offset, symbols.sh_size / sizeof(Elf64_Sym)))
        if (symbol.st_shndx == SHN_UNDEF && symbol.st_name != 0)
            elf.imports.insert(image.textAt(names.sh_offset + symbol.st_name));
}

void readCode(const Image& image, const Elf64_Shdr& section, ElfFile& elf) {
    constexpr std::string_view endbr64 = "\xF3\x0F\x1E\xFA";
    constexpr std::string_view orToTopOfStack("\x48\x83\x0C\x24\x00", 5);
    elf.branchTargets += image.countOf(endbr64, section.sh_offset, section.sh_size);
    elf.stackProbes += image.countOf(orToTopOfStack, section.sh_offset, section.sh_size);
}

} // namespace

ElfFile readElf(const std::filesystem::path& file) {
    const Image image(file);
    const auto header = image.recordsAt<Elf64_Ehdr>(0, 1).front();
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        throw NotElf("no ELF file of 64 bits");
    ElfFile elf;
    elf.isPositionIndependent = header.e_type == ET_DYN;
    readSegments(image, header, elf);
    const auto sections = image.recordsAt<Elf64_Shdr>(header.e_shoff, header.e_shnum);
    for (const auto& section : sections) {
        if (section.sh_type == SHT_DYNAMIC)
            readDynamicEntries(image, section, sections.at(section.sh_link), elf);
        if (section.sh_type == SHT_PROGBITS && (section.sh_flags & SHF_EXECINSTR) != 0)
            readCode(image, section, elf);
        if (section.sh_type == SHT_DYNSYM)
            readImports(image, section, sections.at(section.sh_link), elf);
    }
    return elf;
}

} // namespace Structure
