// Reads and edits guide.ini in the current folder.
#include <verrick/ini.h>

#include <clocale>
#include <cstdio>
#include <cwchar>

// Absolute or with a folder ahead of it: a name goes to the system as it is.
wchar_t const FILE_NAME[] = L"./guide.ini";

void WriteByHand() {
    std::FILE* const file = std::fopen("guide.ini", "w");
    std::fputs("; made by hand\n"
               "[server]\n"
               "; where clients knock\n"
               "port = 8080\n"
               "\n"
               "[log]\n"
               "level=2\n",
               file);
    std::fclose(file);
}

// Prints the strings of a multi-string, and counts them.
int Print(wchar_t const* list) {
    int strings = 0;
    for (; *list != L'\0'; list += std::wcslen(list) + 1) {
        std::printf("  %ls\n", list);
        ++strings;
    }
    return strings;
}

int main() {
    std::setlocale(LC_ALL, ""); // what the file may hold beyond ASCII
    WriteByHand();

    // A flat call opens the file, does one thing and closes it.
    wchar_t port[16];
    GetPrivateProfileString(L"server", L"port", L"80", port, 16, FILE_NAME);
    std::printf("port %ls\n", port);
    int const written = WritePrivateProfileString(L"server", L"host", L"localhost", FILE_NAME);

    // An object is the same with a file that it keeps.
    DIni ini(FILE_NAME);
    wchar_t text[256];
    std::printf("sections:\n");
    ini.GetSectionNames(text, 256);
    int const sections = Print(text);
    std::printf("[server]:\n");
    ini.GetSection(L"server", text, 256);
    int const keys = Print(text);

    ini.PutKeyValue(L"log", L"level", L"3");
    ini.PutKeyValue(L"server", L"host", nullptr); // deletes the key
    ini.Close();

    wchar_t level[16], host[16];
    GetPrivateProfileString(L"log", L"level", L"", level, 16, FILE_NAME);
    GetPrivateProfileString(L"server", L"host", L"(none)", host, 16, FILE_NAME);
    std::printf("level %ls, host %ls\n", level, host);
    std::remove("guide.ini");

    bool const read = std::wcscmp(port, L"8080") == 0 && sections == 2 && keys == 2;
    bool const edited = std::wcscmp(level, L"3") == 0 && std::wcscmp(host, L"(none)") == 0;
    return written == 1 && read && edited ? 0 : 1;
}
