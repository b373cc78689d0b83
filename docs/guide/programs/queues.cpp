// Messages from one thread to another, and bytes through a ring.
#include <verrick/queues.h>
#include <verrick/rings.h>
#include <verrick/thread.h>

#include <cstdio>
#include <cstring>

// Prints messages until an empty one comes.
class Printer : public DThread {
public:
    explicit Printer(MsgQueue* queue) : DThread("Printer", 0, 0, 0), m_queue(queue) {}
    ~Printer() override { WaitForThreadDeath(-1); }

    void Run() override {
        char text[32];
        int length = 0;
        while ((length = MsgQReceive(m_queue, text, sizeof text, INFINITE)) > 0) {
            std::printf("received %.*s\n", length, text);
            m_first = m_received++ == 0 ? text[0] : m_first;
        }
    }

    int m_received = 0; // read it after the thread has ended
    char m_first = 0;   // likewise

private:
    MsgQueue* m_queue;
};

int Send(MsgQueue* queue, char const* text, int priority) {
    return MsgQSend(queue, text, static_cast<unsigned int>(std::strlen(text)), 5000, priority);
}

int main() {
    MsgQueue* const queue = MsgQCreate(3, 32); // three messages of at most 32 bytes
    int failed = Send(queue, "one", 0);
    failed += Send(queue, "two", 0);
    failed += Send(queue, "urgent", MSGQ_PRIORITY_URGENT);
    int const full = MsgQSend(queue, "x", 1, 0, 0); // doesn't wait for room

    Printer printer(queue);
    printer.Start();
    failed += Send(queue, "three", 0); // waits for room, if the printer hasn't made it yet
    failed += Send(queue, "", 0);
    printer.WaitForThreadDeath(-1);
    MsgQDelete(queue); // nobody is inside a call on it
    std::printf("%d messages, beginning with %c\n", printer.m_received, printer.m_first);

    RingBuffer* const ring = RingCreate(8);
    char bytes[16] = {};
    int const put = RingBufPut(ring, "0123456789", 10); // what doesn't fit stays with the caller
    int const got = RingBufGet(ring, bytes, 4);
    int const left = RingNBytes(ring);
    RingDelete(ring);
    std::printf("put %d, got %d (%s), left %d\n", put, got, bytes, left);

    bool const queued = failed == 0 && full == -1 && printer.m_received == 4;
    bool const ringed = put == 8 && std::strcmp(bytes, "0123") == 0 && left == 4;
    return queued && printer.m_first == 'u' && ringed ? 0 : 1;
}
