// Message queues and rings, each beside a model of it, on one thread.
#include "fuzz/input.h"

#include <array>

namespace {

// Sizes above these few are too large or negative.
constexpr unsigned int kSizes = 20;
constexpr std::array kNoCounts = {0x40000000U, 0x80000000U, 0xFFFFFFFFU};
constexpr std::array kNoLengths = {0x80000000U, 0xFFFFFFFCU, 0xFFFFFFFFU};

unsigned int Size(Input& input, std::array<unsigned int, 3> const& noSizes) {
    unsigned int const choice = input.Below(kSizes + 3);
    return choice < kSizes ? choice : noSizes[choice - kSizes];
}

// If the queue can't be made, all calls are made with null, and the capacity is 0.
struct QueueMachine {
    // Only the low 32 bits count. Nobody ends a wait, so a call that can't go on waits for 1 ms.
    unsigned long TimeOut(bool canGoOn) {
        constexpr unsigned long long timeOuts[] = {0, 0x100000000, 1, INFINITE};
        unsigned int const choice = input.Below(canGoOn ? 4 : 3);
        isWaking = canGoOn || (isWaking && choice != 2);
        isNotified = isNotified || canGoOn;
        return static_cast<unsigned long>(timeOuts[choice]);
    }

    void Send() {
        std::string const message = input.Text(kSizes + 4);
        int const priority = static_cast<int>(input.Below(4)) - 1;
        bool const hasRoom = messages.size() < capacity;
        int const result =
            MsgQSend(queue, message.empty() ? nullptr : message.data(),
                     static_cast<unsigned int>(message.size()), TimeOut(hasRoom), priority);
        AGREE(result == (hasRoom ? 0 : -1));
        if (hasRoom) {
            bool const isUrgent = priority == MSGQ_PRIORITY_URGENT;
            messages.insert(isUrgent ? messages.begin() : messages.end(),
                            message.substr(0, length));
        }
    }

    void Receive() {
        std::string buffer = input.Text(kSizes + 4) + '.'; // one more than the call may fill
        std::size_t const size = buffer.size() - 1;
        std::string const message = messages.empty() ? "" : messages.front().substr(0, size);
        std::string const expected = message + buffer.substr(message.size());
        int const result = MsgQReceive(queue, size > 0 ? buffer.data() : nullptr,
                                       static_cast<unsigned int>(size), TimeOut(!messages.empty()));
        AGREE(result == (messages.empty() ? -1 : static_cast<int>(message.size())));
        AGREE(buffer == expected);
        if (!messages.empty()) {
            messages.pop_front();
        }
    }

    void TakeSignals() {
        auto const isSet = [](HANDLE event) { return WaitForSingleObject(event, 0) == 0; };
        AGREE(queue == nullptr || isSet(queue->m_notifyEvent) == isNotified);
        AGREE(queue == nullptr || isSet(queue->m_wakeEvent) == isWaking);
        isNotified = isWaking = false;
    }

    // The slots lie packed, each with its length in front.
    void Compare() const {
        AGREE(MsgQNumMsgs(queue) == (queue != nullptr ? static_cast<int>(messages.size()) : -1));
        if (!messages.empty()) {
            auto const place = static_cast<std::size_t>(queue->m_getIndex) * (length + 4);
            std::uint32_t stored = 0;
            std::memcpy(&stored, queue->m_store + place, sizeof stored);
            AGREE(stored == messages.front().size());
        }
    }

    Input& input;
    MsgQueue* const queue;
    std::size_t const capacity;
    unsigned int const length;
    std::deque<std::string> messages = {};
    bool isNotified = false;
    bool isWaking = false;
};

void TryQueue(Input& input) {
    unsigned int const maxMsgs = Size(input, kNoCounts);
    unsigned int const length = Size(input, kNoLengths);
    bool const isPossible = maxMsgs < kSizes && length < kSizes;
    MsgQueue* const queue = MsgQCreate(static_cast<int>(maxMsgs), length);
    AGREE((queue != nullptr) == isPossible);
    QueueMachine machine{input, queue, isPossible ? maxMsgs : 0, length};
    while (!input.IsEmpty()) {
        constexpr void (QueueMachine::*steps[])() = {&QueueMachine::Send, &QueueMachine::Receive,
                                                     &QueueMachine::TakeSignals};
        (machine.*steps[input.Below(9) / 4])();
        machine.Compare();
    }
    AGREE(MsgQDelete(queue) == 0);
}

// The model is the bytes held. If the ring can't be made, all calls are made with null.
void TryRing(Input& input) {
    int const size = static_cast<int>(Size(input, kNoLengths));
    bool const isThere = size >= 0;
    RingBuffer* const ring = RingCreate(size);
    AGREE((ring != nullptr) == isThere);
    std::string held;
    for (int count = 0; !input.IsEmpty(); count = static_cast<int>(held.size())) {
        AGREE(RingNBytes(ring) == (isThere ? count : -1));
        AGREE(RingFreeBytes(ring) == (isThere ? size - count : -1));
        AGREE(RingIsEmpty(ring) == (isThere && count == 0 ? 1 : 0));
        AGREE(RingIsFull(ring) == (isThere && count == size ? 1 : 0));
        AGREE(size <= 0 || ring->m_putIndex == (ring->m_getIndex + count) % size);
        unsigned int const step = input.Below(16);
        std::string buffer = input.Text(kSizes + 4) + '.'; // one more than a call may move
        int const nBytes = static_cast<int>(buffer.size()) - 1 - static_cast<int>(input.Below(2));
        int const result = isThere ? std::clamp(nBytes, 0, step < 8 ? size - count : count) : -1;
        auto const moved = static_cast<std::size_t>(std::max(result, 0));
        if (step == 15) {
            RingFlush(ring);
            held.clear();
        } else if (step < 8) {
            AGREE(RingBufPut(ring, buffer.data(), nBytes) == result);
            held.append(buffer, 0, moved);
        } else {
            std::string const expected = held.substr(0, moved) + buffer.substr(moved);
            AGREE(RingBufGet(ring, buffer.data(), nBytes) == result);
            AGREE(buffer == expected);
            held.erase(0, moved);
        }
    }
    RingDelete(ring);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    errno = 0;
    input.Below(2) == 0 ? TryQueue(input) : TryRing(input);
    AGREE(errno == 0);
    return 0;
}
