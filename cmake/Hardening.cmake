# Protection that the compiler adds to the library's own code, each kind where the target has it. A
# write beyond a known buffer or over a return address ends the program instead of going on.
include(CheckCXXCompilerFlag)

function(verrick_hardening target)
    set(CMAKE_REQUIRED_FLAGS -Werror) # Clang takes an option without use, with a warning
    foreach(flag
            -fstack-protector-strong
            -fstack-clash-protection
            -fcf-protection                 # x86
            -mbranch-protection=standard)   # 64-bit ARM
        string(MAKE_C_IDENTIFIER "VERRICK_HAS${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            target_compile_options(${target} PRIVATE ${flag})
        endif()
    endforeach()
    # libc's checks need an optimised build. A sanitizer has better checks of its own.
    if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_compile_options(${target} PRIVATE
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=3>)
    endif()
endfunction()
