// Writes two files into the current folder, finds them again in two ways, and removes them.
#include <verrick/file.h>
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

bool Write(char const* name, std::string text) {
    DFile file; // closes the file at the end
    unsigned int const length = static_cast<unsigned int>(text.size());
    unsigned int done = 0;
    return file.Open(name, FILE_MODE_WRITE | FILE_MODE_CREATE) == FILE_STATUS_OK &&
           file.Write(&text[0], length, &done) == FILE_STATUS_OK && done == length;
}

// The whole of a short file, read in pieces of four bytes.
int ReadAll(char const* name, char* text) {
    DFile file;
    int length = 0;
    unsigned int done = 0;
    if (file.Open(name, FILE_MODE_READ) == FILE_STATUS_OK) {
        while (file.Read(text + length, 4, &done) == FILE_STATUS_OK) {
            length += static_cast<int>(done);
        }
    }
    text[length] = '\0';
    return length;
}

int main() {
    bool const written =
        Write("guide-a.txt", "some text") && Write("guide-b.txt", "a longer text\n");
    char text[64];
    int const length = ReadAll("guide-a.txt", text);
    std::printf("read %d bytes: %s\n", length, text);

    // Wide text, an absolute path, true and false.
    int listed = 0;
    DDirList list;
    std::unique_ptr<DFileInfo> const info(new DFileInfo); // 16 KiB
    for (bool more = list.FindFirst(L"guide-*.txt", info.get()); more;
         more = list.FindNext(info.get())) {
        std::printf("listed %ls with %u bytes\n", info->name,
                    static_cast<unsigned int>(info->size));
        ++listed;
    }
    wchar_t full[4096];
    GetFullFilename(L"guide-a.txt", full, 4096);
    std::printf("the folder is absolute: %s\n", full[0] == L'/' ? "yes" : "no");

    // Narrow text, the path as it is, errno.
    int found = 0;
    FindData data;
    long const search = _findfirst("./guide-?.txt", &data);
    if (search != -1) {
        do {
            ++found;
        } while (_findnext(search, &data) == 0);
        _findclose(search);
    }
    std::remove("guide-a.txt");
    std::remove("guide-b.txt");

    DFile gone;
    bool const missing = gone.Open("guide-a.txt", FILE_MODE_READ) == FILE_STATUS_NOT_FOUND;
    bool const counted = listed == 2 && found == 2 && full[0] == L'/';
    return written && std::strcmp(text, "some text") == 0 && counted && missing ? 0 : 1;
}
