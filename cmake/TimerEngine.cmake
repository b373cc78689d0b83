# verrick_timer_engine(PROGRAM): compiles the timer engine's sources into a program that has a clock of
# its own. They come without the callouts of the clock, which the program defines. The program doesn't
# link the library. It may look at private members.
function(verrick_timer_engine program)
    get_target_property(sources Verrick SOURCES)
    list(FILTER sources INCLUDE REGEX
        "^(threads/|frame/(critical_section|deadline|event|list|sleep)[.]cpp)")
    list(FILTER sources EXCLUDE REGEX "time_primitives|worker|tasks")
    list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/)
    target_sources(${program} PRIVATE ${sources})
    target_include_directories(${program} PRIVATE ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(${program} PRIVATE $<TARGET_PROPERTY:Verrick,LINK_LIBRARIES>)
    target_compile_definitions(${program} PRIVATE _GNU_SOURCE)
    target_compile_options(${program} PRIVATE -fno-access-control)
endfunction()
