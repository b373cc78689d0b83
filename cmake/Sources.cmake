# The library's sources, one section for each subsystem folder.
target_sources(Verrick PRIVATE
    frame/atomics.cpp
    frame/critical_section.cpp
    frame/deadline.cpp
    frame/event.cpp
    frame/interlocked.cpp
    frame/list.cpp
    frame/semaphore.cpp
    frame/sleep.cpp
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
    ini/profile.cpp

    files/file.cpp
    files/libraries.cpp
    files/listing.cpp
    files/paths.cpp
    files/search.cpp
    files/status.cpp

    handles/flat_critical_section.cpp
    handles/handles.cpp

    queues/queues.cpp
    queues/rings.cpp
    queues/waiting_sides.cpp

    strings/compare.cpp
    strings/debug.cpp
    strings/printing.cpp
    strings/text_conversion.cpp
    strings/trim.cpp
    strings/wide.cpp
)

# On a 32-bit target the files and directories are those of any size and date, and the calls that
# these sources make for them are libc's own for such records. files/status.cpp stays without: it
# exports the target's plain stat and fstat.
set_source_files_properties(
    files/file.cpp
    files/listing.cpp
    files/search.cpp
    PROPERTIES COMPILE_DEFINITIONS "_FILE_OFFSET_BITS=64;_TIME_BITS=64")
