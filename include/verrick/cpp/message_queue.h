/**
 * @file
 * A queue of messages of one type. Opt in, and nothing here is exported.
 */
#ifndef VERRICK_CPP_MESSAGE_QUEUE_H
#define VERRICK_CPP_MESSAGE_QUEUE_H

#include <verrick/flat/queues.h>

#include <type_traits>

namespace verrick {

/**
 * A queue of whole messages between threads, over MsgQCreate and its sisters. A message is copied
 * byte by byte, so its type must be trivially copyable. A pointer in a message stays a pointer: who
 * owns what it points to is up to the two sides.
 *
 * Any thread may send and receive. The owner destroys the queue when no thread is inside a call on
 * it, or will make one.
 */
template<typename Message>
class MessageQueue {
    static_assert(std::is_trivially_copyable<Message>::value,
                  "messages are copied byte by byte, so their type must be trivially copyable");

public:
    /**
     * Makes a queue of at most maxMessages messages. If it can't be made, the object is false and
     * its calls fail. That is so for a negative number and when memory is short.
     */
    explicit MessageQueue(int maxMessages) : m_queue(MsgQCreate(maxMessages, sizeof(Message))) {}
    ~MessageQueue() { MsgQDelete(m_queue); }

    /** Tells whether the queue was made. */
    explicit operator bool() const { return m_queue != nullptr; }

    /**
     * Puts a copy of a message after all others, as MsgQSend does. Waits at most timeoutMs
     * milliseconds for room: 0 doesn't wait, INFINITE waits for ever. Returns false if there was no
     * room in time.
     */
    bool Send(Message const& message, unsigned long timeoutMs = INFINITE) {
        return MsgQSend(m_queue, &message, sizeof message, timeoutMs, 0) == 0;
    }

    /** As Send, but puts the message in front of all others. */
    bool SendUrgent(Message const& message, unsigned long timeoutMs = INFINITE) {
        return MsgQSend(m_queue, &message, sizeof message, timeoutMs, MSGQ_PRIORITY_URGENT) == 0;
    }

    /**
     * Takes the first message and stores it in message, as MsgQReceive does. Waits at most
     * timeoutMs milliseconds for one. Returns false, with message unchanged, if none came in time.
     */
    bool Receive(Message& message, unsigned long timeoutMs = INFINITE) {
        return MsgQReceive(m_queue, &message, sizeof message, timeoutMs) >= 0;
    }

    /** Returns how many messages wait, which may be about to change. -1 without a queue. */
    int Count() const { return MsgQNumMsgs(m_queue); }

    MessageQueue(MessageQueue const&) = delete;
    MessageQueue& operator=(MessageQueue const&) = delete;

private:
    MsgQueue* const m_queue; /* owned; null if it couldn't be made */
};

} // namespace verrick

#endif
