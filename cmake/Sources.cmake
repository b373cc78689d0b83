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

    ini/conversion.cpp
    ini/file_move.cpp
    ini/ini.cpp
    ini/ini_editor.cpp
    ini/ini_reader.cpp
    ini/ini_scan.cpp
    ini/line_scanner.cpp
    ini/narrow.cpp
    ini/profile.cpp

    strings/compare.cpp
    strings/trim.cpp
    strings/wide.cpp
)
