# The library's sources, one section for each subsystem folder.
target_sources(Verrick PRIVATE
    frame/critical_section.cpp
    frame/deadline.cpp
    frame/event.cpp
    frame/list.cpp
    frame/version.cpp

    threads/scheduling.cpp
    threads/tasks.cpp
    threads/thread.cpp
    threads/thread_control.cpp
    threads/thread_impl.cpp
    threads/time_manager.cpp
    threads/time_primitives.cpp
    threads/timer_dispatch.cpp
    threads/timer_engine.cpp
    threads/worker_thread.cpp
)
