# The library's sources, one section for each subsystem folder.
target_sources(Verrick PRIVATE
    frame/critical_section.cpp
    frame/deadline.cpp
    frame/event.cpp
    frame/list.cpp
    frame/version.cpp

    threads/time_primitives.cpp

    ini/conversion.cpp
    ini/narrow.cpp

    files/status.cpp

    strings/compare.cpp
    strings/trim.cpp
    strings/wide.cpp
)
