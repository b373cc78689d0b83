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

    threads/listener_call.cpp
    threads/object_use.cpp
    threads/run_lookup.cpp
    threads/scheduling.cpp
    threads/signals.cpp
    threads/tasks.cpp
    threads/thread.cpp
    threads/thread_end.cpp
    threads/thread_exit.cpp
    threads/thread_impl.cpp
    threads/thread_main.cpp
    threads/thread_properties.cpp
    threads/time_manager.cpp
    threads/time_manager_impl.cpp
    threads/time_primitives.cpp
    threads/timer_dispatch.cpp
    threads/timer_index.cpp
    threads/worker_thread.cpp

    ini/conversion.cpp
    ini/file_bytes.cpp
    ini/file_text.cpp
    ini/ini.cpp
    ini/ini_file.cpp
    ini/ini_impl.cpp
    ini/ini_scan.cpp
    ini/line_scanner.cpp
    ini/profile.cpp

    files/entry_fields.cpp
    files/file.cpp
    files/libraries.cpp
    files/listing.cpp
    files/paths.cpp
    files/search.cpp
    files/stat.cpp

    handles/flat_critical_section.cpp
    handles/handles.cpp

    queues/queues.cpp
    queues/rings.cpp
    queues/waiting_sides.cpp

    strings/debug.cpp
    strings/printing.cpp
    strings/strings.cpp
    strings/text_conversion.cpp
)

# These sources handle files and directories of any size and date on a 32-bit target too. Their calls
# are libc's own for such records. files/stat.cpp stays without the definitions, because it exports
# the target's plain stat and fstat.
set_source_files_properties(
    files/entry_fields.cpp
    files/file.cpp
    files/listing.cpp
    files/search.cpp
    PROPERTIES COMPILE_DEFINITIONS "_FILE_OFFSET_BITS=64;_TIME_BITS=64")

# These sources print by an application's format. A hardened build must not change what formats they take:
# a fortified C library ends the program at a %n in a format that can be written.
set_source_files_properties(strings/debug.cpp strings/printing.cpp
    PROPERTIES COMPILE_OPTIONS -U_FORTIFY_SOURCE)
