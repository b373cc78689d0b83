// Calls on one INI file: what they return and store, and what the file then holds.
#include "fuzz/ini_model.h"
#include "tests/support/scratch_folder.h"

namespace {

constexpr wchar_t kName[] = L"f.ini";

// Bytes, at times with a piece again and again, up to near a size of the library's buffers. A long
// piece keeps the number of lines low.
std::string Bytes(Input& input, unsigned limit) {
    constexpr unsigned lengths[] = {0, 1920, 3968, 32640, 65408, 130944};
    std::string bytes = input.Text(limit);
    if (input.Below(32) == 31) {
        std::string piece = input.Text(64);
        piece.resize(64, 'x');
        std::size_t left = lengths[input.Below(6)];
        for (left += input.Byte(); left > 0; left -= std::min(left, piece.size())) {
            bytes.append(piece, 0, left);
        }
        bytes += input.Text(limit);
    }
    return bytes;
}

// A stroke divides the strings of a multi-string.
std::wstring Text(Input& input, unsigned limit) {
    std::wstring text = WideText(Bytes(input, limit));
    std::replace(text.begin(), text.end(), L'|', L'\0');
    return text + L'\0';
}

// The scans begin at the start of the file and go on from each other. Without an open file each
// operation fails, and so does an edit without a value.
void CheckScans(Input& input, DIni& face, std::string& text) {
    auto& ini = static_cast<DIniImpl&>(*face.m_impl);
    model::IniFile const file(text);
    face.Close();
    AGREE(!ini.GetSection() && !ini.GetKey() && !ini.FindSection(L"a") && !ini.FindKey(L"k"));
    AGREE(!ini.ReplaceKey(L"a", L"k", L"v") && !ini.DeleteKey(L"a", L"k"));
    AGREE(!ini.ReplaceSection(L"a", L"") && !ini.DeleteSection(L"a"));
    AGREE(face.Open(kName) == 1 && ini.m_lineStart == 0 && ini.m_value == ini.m_line);
    AGREE(!ini.ReplaceKey(L"a", L"k", nullptr));
    for (std::size_t line = 0; line <= file.End() && input.Below(8) != 7;) {
        bool const isKey = input.Below(2) == 0;
        std::size_t const stop = file.Next(line, isKey ? "[=" : "[");
        model::IniFile::Line const& last = file.lines[stop];
        bool const isFound = stop < file.End() && last.kind == (isKey ? '=' : '[');
        std::size_t const mark = isKey ? std::max(line, file.Above(stop)) : stop;
        bool const isNamed = input.Below(2) == 0;
        wchar_t const* const name = last.name.c_str();
        bool const result = isKey     ? isNamed ? ini.FindKey(name) : ini.GetKey()
                                : isNamed ? ini.FindSection(name)
                                      : ini.GetSection();
        AGREE(result == isFound);
        AGREE(ini.m_lineStart == static_cast<long>(file.lines[mark].start));
        AGREE(!isFound || (ini.m_line == last.name && (!isKey || ini.m_value == last.value)));
        line = stop + 1;
    }
}

// The room in front of a moved tail keeps its old bytes, and zeros where it had none. No tail is
// moved to or from a place before the file.
void CheckMove(Input& input, DIni& face, std::string& file) {
    auto& ini = static_cast<DIniImpl&>(*face.m_impl);
    long const from = input.Byte();
    long const to = input.Byte();
    std::strcpy(ini.m_mode, "rb+");
    AGREE(!ini.FileMove(-1, to) && !ini.FileMove(from, -1) && ini.FileMove(from, to));
    std::size_t const source = std::min<std::size_t>(from, file.size());
    std::size_t const target = to;
    std::size_t const start = std::min(source, target);
    std::size_t const growth = std::max(source, target) - source;
    std::string room = file.substr(source, growth);
    room.resize(source < file.size() ? growth : 0);
    file.insert(source, room).erase(start, source - start);
}

// What is read, and then one edit.
void CheckEdit(Input& input, DIni& ini, std::string& file) {
    std::wstring const texts[] = {Text(input, 8), Text(input, 8), Text(input, 40)};
    auto const maybe = [&](int at) { return input.Below(16) < 15 ? texts[at].c_str() : nullptr; };
    wchar_t const* const section = maybe(0);
    wchar_t const* const key = maybe(1);
    wchar_t const* const text = maybe(2);
    model::IniFile const before(file);
    unsigned int const size = input.Below(256) < 240 ? input.Below(30) : 6000;
    auto const check = [&](std::wstring list, std::size_t terminators, auto call) {
        Array<wchar_t> out(size);
        bool const hasRoom = size >= terminators;
        list.resize(std::min<std::size_t>(list.size(), hasRoom ? size - terminators : 0));
        AGREE(call(out.data(), size) == list.size());
        list.resize(list.size() + terminators - 1);
        AGREE(hasRoom ? out.Holds(list) : out == Array<wchar_t>(size));
    };
    check(before.List(0, before.End(), '[', false), 2,
          [&](auto... out) { return GetPrivateProfileSectionNames(out..., kName); });
    auto const [first, end] = before.Section(section);
    check(before.List(first, end, '=', false), 2,
          [&](auto... out) { return ini.GetKeyNames(section, out...); });
    check(before.List(first, end, '=', true), 2,
          [&](auto... out) { return ini.GetSection(section, out...); });
    std::size_t const line = before.Find(first, end, '=', key);
    check(line < before.End() ? before.lines[line].value
          : text != nullptr   ? text
                              : L"",
          1, [&](auto... out) { return ini.GetKeyValue(section, key, text, out...); });

    bool const isWhole = input.Below(3) == 0;
    bool const isProfileCall = input.Below(2) == 0;
    int const result = isWhole ? isProfileCall ? WritePrivateProfileSection(section, text, kName)
                                               : ini.PutSection(section, text)
                       : isProfileCall ? WritePrivateProfileString(section, key, text, kName)
                                       : ini.PutKeyValue(section, key, text);
    bool const isRefused = section == nullptr || (key == nullptr && !isWhole);
    auto const after = isRefused ? model::Converted<char>{file, true}
                       : isWhole ? before.PutSection(section, text)
                                 : before.PutKey(section, key, text);
    AGREE(result == (after.fault ? 0 : 1));
    file = after.fault ? file : after.text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static Scratch const scratch;
    AGREE(std::setlocale(LC_ALL, "C.UTF-8") != nullptr);
    Input input(data, size);
    std::string file = Bytes(input, 1000);
    WriteFile("f.ini", file);
    DIni ini(kName);
    constexpr void (*checks[])(Input&, DIni&, std::string&) = {CheckEdit, CheckEdit, CheckEdit,
                                                               CheckScans, CheckMove};
    for (int calls = 0; calls < 12 && !input.IsEmpty(); ++calls) {
        checks[input.Below(5)](input, ini, file);
        std::ostringstream stored;
        stored << std::ifstream("f.ini", std::ios::binary).rdbuf();
        AGREE(stored.str() == file);
    }
    return 0;
}
