/* Uses flat calls of an installed library from C99: those that tests/win32/fragments.c leaves out.
 */
#include <verrick/flat.h>
#include <verrick/version.h>

#include <stdio.h>
#include <string.h>

static void Put(void* ring) {
    RingBufPut((RingBuffer*)ring, "abc", 3);
}

int main(void) {
    char version[5];
    char bytes[8];
    RingBuffer* const ring = RingCreate(8);
    MsgQueue* const queue = MsgQCreate(2, 8);
    GetDLLVersion(version);
    int works = strcmp(version, VERRICK_VERSION) == 0;
    works = works && ThreadSpawn(Put, ring, 0, 0, 0, 0) == 1;
    while (works && RingIsEmpty(ring)) {
        Sleep(1);
    }
    works = works && RingBufGet(ring, bytes, 8) == 3;
    works = works && MsgQSend(queue, bytes, 2, 0, MSGQ_PRIORITY_URGENT) == 0;
    works = works && MsgQReceive(queue, bytes, 8, INFINITE) == 2 && MsgQDelete(queue) == 0;
    RingDelete(ring);
    puts(works ? "flat calls work from C" : "a flat call failed");
    return works ? 0 : 1;
}
