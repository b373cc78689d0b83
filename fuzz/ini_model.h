// A model of INI files that has the whole file in memory.
#pragma once

#include "fuzz/text_model.h"

#include <string_view>

namespace model {

struct IniFile {
    // kind is what makes it one: ';' a comment, '[' a header, '=' a key, ' ' none of these.
    struct Line {
        std::size_t start;
        char kind;
        std::wstring name{};
        std::wstring value{};
    };

    // Two headers without a name stand for the end of the file. They are the bounds of a section
    // that isn't there.
    explicit IniFile(std::string const& text) : file(text) {
        std::istringstream stream(text);
        std::size_t start = 0;
        for (std::string line; std::getline(stream, line); start += line.size() + 1) {
            std::wstring const seen = Widen(UpToZero(line).substr(0, 2047)).text;
            lines.push_back(Parse(start, Trim(seen)));
        }
        lines.insert(lines.end(), 2, {file.size(), '['});
    }

    static std::wstring Trim(std::wstring const& text) { return TrimLeft(TrimRight(text)); }

    static Line Parse(std::size_t start, std::wstring const& text) {
        std::size_t const bracket = text.find(L']');
        std::size_t const equals = text.find(L'=');
        if (text.starts_with(L'[') && bracket != kAll) {
            return {start, '[', Trim(text.substr(1, bracket - 1))};
        }
        if (text.starts_with(L';') || equals == kAll) {
            return {start, text.starts_with(L';') ? ';' : ' '};
        }
        return {start, '=', Trim(text.substr(0, equals)), Trim(text.substr(equals + 1))};
    }

    std::size_t End() const { return lines.size() - 2; }

    // The next line of these kinds, of which one must be a header.
    std::size_t Next(std::size_t line, std::string_view kinds) const {
        while (kinds.find(lines[line].kind) == kAll) {
            ++line;
        }
        return line;
    }

    // The first line of that kind and name, or the end.
    std::size_t Find(std::size_t first, std::size_t end, char kind, wchar_t const* name) const {
        std::wstring const wanted = Upper(Trim(name != nullptr ? name : L""));
        for (std::size_t line = first; name != nullptr && line < end; ++line) {
            if (lines[line].kind == kind && Upper(lines[line].name) == wanted) {
                return line;
            }
        }
        return End();
    }

    // The first of the comments directly above a line, or the line itself.
    std::size_t Above(std::size_t line) const {
        while (line > 0 && lines[line - 1].kind == ';') {
            --line;
        }
        return line;
    }

    // Lists are joined by terminators.
    std::wstring List(std::size_t first, std::size_t end, char kind, bool withValues) const {
        std::wstring list;
        for (std::size_t line = first; line < end; ++line) {
            if (lines[line].kind == kind) {
                list += lines[line].name + (withValues ? L"=" + lines[line].value : L"") + L'\0';
            }
        }
        return list.substr(0, list.size() - 1);
    }

    // The lines of a section, from the one after its header to the one ahead of the next.
    std::pair<std::size_t, std::size_t> Section(wchar_t const* name) const {
        std::size_t const first = Find(0, End(), '[', name) + 1;
        return {first, Next(first, "[")};
    }

    // The file with text in the place of some lines. With a fault it can't be written.
    Converted<char> Put(std::size_t first, std::size_t end, Converted<char> const& text) const {
        std::size_t const start = lines[first].start;
        std::size_t const size = lines[end].start - start;
        return {std::string(file).replace(start, size, text.text), text.fault};
    }

    Converted<char> PutKey(wchar_t const* section, wchar_t const* key, wchar_t const* value) const {
        auto const [first, end] = Section(section);
        std::size_t const line = Find(first, end, '=', key);
        bool const isFound = line != End();
        if (value == nullptr) {
            return isFound ? Put(Above(line), Above(Next(line + 1, "[=")), {}) : Put(0, 0, {});
        }
        std::size_t const start = isFound ? line : Above(end);
        std::wstring text = key + std::wstring(L"=") + value + L"\r\n";
        if (first > End()) {
            text = std::wstring(L"\r\n[") + section + L"]\r\n" + text;
        } else if (start == End() && !file.ends_with('\n')) {
            text = L"\r\n" + text;
        }
        return Put(start, isFound ? line + 1 : start, Narrow(text));
    }

    // A multi-string of lines.
    Converted<char> PutSection(wchar_t const* section, wchar_t const* strings) const {
        auto const [first, end] = Section(section);
        Converted<char> text = Narrow(section, 2047);
        text.text = (first > End() ? "\r\n[" : "[") + text.text + "]\r\n";
        for (; strings != nullptr && *strings != L'\0'; strings += std::wcslen(strings) + 1) {
            Converted<char> const line = Narrow(strings, 2047);
            text = {text.text + line.text + "\r\n", text.fault || line.fault};
        }
        return Put(first - 1, end, strings != nullptr ? text : Converted<char>());
    }

    std::string file;
    std::vector<Line> lines;
};

} // namespace model
