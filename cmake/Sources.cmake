# The library's sources, one section for each subsystem folder.
target_sources(Verrick PRIVATE
    frame/atomics.cpp
    frame/critical_section.cpp
    frame/deadline.cpp
    frame/event.cpp
    frame/interlocked.cpp
    frame/list.cpp
    frame/semaphore.cpp
    frame/version.cpp

    threads/time_primitives.cpp

    handles/flat_critical_section.cpp
    handles/handles.cpp

    queues/message_queue.cpp
    queues/ring.cpp

    strings/compare.cpp
    strings/trim.cpp
    strings/wide.cpp
)
