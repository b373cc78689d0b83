// Passes a text file through three threads, and prints its lines, words and bytes as wc does.
//
//   pipeline FILE [OUTPUT]        OUTPUT: gets the text that has passed through
//
//   main thread --ring of bytes--> cutter --queue of lines--> counter
//
// The cutter stops when the stop event is set and the ring is empty. The counter stops at the empty
// message that follows the last line. Each then releases the semaphore that the main thread waits
// on.
#include <verrick/file.h>
#include <verrick/handles.h>
#include <verrick/queues.h>
#include <verrick/rings.h>
#include <verrick/tasks.h>
#include <verrick/time_primitives.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>

namespace {

constexpr int kRingBytes = 16384;
constexpr int kQueueLines = 32;
constexpr unsigned int kLineBytes = 256; // a longer line goes in pieces
constexpr int kDefault = 0;              // priority and stack size of a task

// Each task releases it as its last act. It is left to the end of the process, since a task may
// still be on its way out of that call when the main thread goes on.
HANDLE const g_finished = CreateSemaphore(nullptr, 0, 2, nullptr);

struct Pipeline {
    RingBuffer* ring = RingCreate(kRingBytes);
    MsgQueue* queue = MsgQCreate(kQueueLines, kLineBytes);
    HANDLE stop = CreateEvent(nullptr, 1, 0, nullptr); // manual-reset: stays set

    Pipeline() = default;
    ~Pipeline() {
        CloseHandle(stop);
        MsgQDelete(queue);
        RingDelete(ring);
    }
    Pipeline(Pipeline const&) = delete;
    Pipeline& operator=(Pipeline const&) = delete;
};

// Counts lines, words and bytes of text that comes in pieces.
class Counts {
public:
    void Add(char const* text, std::size_t length) {
        m_bytes += length;
        while (length > 0) {
            wchar_t character = 0;
            bool const isWhole = std::mbsinit(&m_partial) != 0;
            std::size_t used = std::mbrtowc(&character, text, length, &m_partial);
            if (used == kGoesOnInNextPiece) {
                return;
            }
            if (used == kNoCharacter) {
                m_partial = {};
                used = isWhole ? 1 : 0; // without the start from the piece before, try again
            } else {
                Add(character);
                used = used > 0 ? used : 1; // a null character
            }
            text += used;
            length -= used;
        }
    }

    // In columns as wide as the number of bytes, for one file.
    void Print(char const* name) const {
        int const width = static_cast<int>(std::to_string(m_bytes).size());
        std::printf("%*lu %*lu %*lu %s\n", width, m_lines, width, m_words, width, m_bytes, name);
    }

private:
    static constexpr auto kNoCharacter = static_cast<std::size_t>(-1);
    static constexpr auto kGoesOnInNextPiece = static_cast<std::size_t>(-2);

    static bool IsSpace(wchar_t character) {
        return std::iswspace(static_cast<wint_t>(character)) != 0 ||
               std::wstring_view(L"\u00A0\u2007\u202F\u2060").find(character) !=
                   std::wstring_view::npos;
    }

    // A word begins with a printable character and ends with a space, one without a break included.
    void Add(wchar_t character) {
        m_lines += character == L'\n' ? 1 : 0;
        if (IsSpace(character)) {
            m_inWord = false;
        } else if (std::iswprint(static_cast<wint_t>(character)) != 0) {
            m_words += m_inWord ? 0 : 1;
            m_inWord = true;
        }
    }

    unsigned long m_lines = 0;
    unsigned long m_words = 0;
    unsigned long m_bytes = 0;
    bool m_inWord = false;
    std::mbstate_t m_partial{};
};

struct Counter {
    Pipeline& pipeline;
    Counts counts;
    DFile output;
    bool failed = false;
};

void SendLine(Pipeline& pipeline, std::string& line) {
    MsgQSend(pipeline.queue, line.data(), static_cast<unsigned int>(line.size()), INFINITE, 0);
    line.clear();
}

// A task: bytes of the ring to lines of the queue.
void Cut(void* argument) {
    auto& pipeline = *static_cast<Pipeline*>(argument);
    std::string line;
    std::array<char, 4096> bytes;
    for (;;) {
        bool const isLast = WaitForSingleObject(pipeline.stop, 0) == WAIT_OBJECT_0;
        int const count = RingBufGet(pipeline.ring, bytes.data(), bytes.size());
        if (count == 0 && isLast) {
            break;
        }
        if (count == 0) {
            WaitForSingleObject(pipeline.stop, 1);
        }
        for (int i = 0; i < count; ++i) {
            line += bytes[static_cast<std::size_t>(i)];
            if (line.back() == '\n' || line.size() == kLineBytes) {
                SendLine(pipeline, line);
            }
        }
    }
    if (!line.empty()) {
        SendLine(pipeline, line);
    }
    SendLine(pipeline, line);
    ReleaseSemaphore(g_finished, 1, nullptr);
}

// A task: counts the lines of the queue and writes them out.
void Count(void* argument) {
    auto& counter = *static_cast<Counter*>(argument);
    std::array<char, kLineBytes> line;
    int length = 0;
    while ((length = MsgQReceive(counter.pipeline.queue, line.data(), kLineBytes, INFINITE)) > 0) {
        auto const bytes = static_cast<unsigned int>(length);
        counter.counts.Add(line.data(), bytes);
        if (counter.output.Name() != nullptr &&
            counter.output.Write(line.data(), bytes, nullptr) != FILE_STATUS_OK) {
            counter.failed = true;
        }
    }
    ReleaseSemaphore(g_finished, 1, nullptr);
}

// Puts all bytes in the ring, and waits for room as often as it takes.
void PutAll(RingBuffer* ring, char const* bytes, int count) {
    while (count > 0) {
        int const done = RingBufPut(ring, bytes, count);
        if (done == 0) {
            Sleep(1);
        }
        bytes += done;
        count -= done;
    }
}

// Feeds the file into the ring; false if reading fails before its end.
bool Feed(RingBuffer* ring, DFile& input) {
    std::array<char, 4096> bytes;
    FileStatus status = FILE_STATUS_OK;
    while (status == FILE_STATUS_OK) {
        unsigned int count = 0;
        status = input.Read(bytes.data(), bytes.size(), &count);
        PutAll(ring, bytes.data(), static_cast<int>(count));
    }
    return status == FILE_STATUS_END_OF_FILE;
}

int Complain(char const* what, char const* name) {
    std::fprintf(stderr, "pipeline: can't %s %s\n", what, name);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fputs("usage: pipeline FILE [OUTPUT]\n", stderr);
        return 2;
    }
    std::setlocale(LC_ALL, "");
    DFile input;
    if (input.Open(argv[1], FILE_MODE_READ) != FILE_STATUS_OK) {
        return Complain("open", argv[1]);
    }
    Pipeline pipeline;
    Counter counter{pipeline, {}, {}};
    if (argc == 3 &&
        counter.output.Open(argv[2], FILE_MODE_WRITE | FILE_MODE_CREATE) != FILE_STATUS_OK) {
        return Complain("write", argv[2]);
    }
    if (pipeline.ring == nullptr || pipeline.queue == nullptr ||
        ThreadSpawn(Count, &counter, kDefault, 0, 0, kDefault) == 0) {
        return Complain("start", "its tasks");
    }
    if (ThreadSpawn(Cut, &pipeline, kDefault, 0, 0, kDefault) == 0) {
        MsgQSend(pipeline.queue, nullptr, 0, INFINITE, 0);
        WaitForSingleObject(g_finished, INFINITE);
        return Complain("start", "its tasks");
    }

    bool const wasRead = Feed(pipeline.ring, input);
    SetEvent(pipeline.stop);
    for (int tasks = 0; tasks < 2; ++tasks) {
        WaitForSingleObject(g_finished, INFINITE);
    }
    counter.output.Close();
    if (!wasRead) {
        return Complain("read", argv[1]);
    }
    if (counter.failed) {
        return Complain("write", argv[2]);
    }
    counter.counts.Print(argv[1]);
    return 0;
}
