# What everything is compiled with: dax_warnings for all code of the project, dax_code for the
# library's own sources, and the instruction sets for which the row kernels are compiled.

add_library(dax_warnings INTERFACE)
target_compile_options(dax_warnings INTERFACE
    -Wall -Wextra -Wconversion -Wshadow $<$<BOOL:${DAX_WERROR}>:-Werror>)

# Results are defined to the last bit, so a multiplication and an addition are never fused. There is
# no C++ runtime: the C driver links the library.
add_library(dax_code INTERFACE)
target_link_libraries(dax_code INTERFACE dax_warnings)
target_compile_definitions(dax_code INTERFACE DAX_BUILDING)
target_compile_options(dax_code INTERFACE
    -ffp-contract=off
    # Nobody reads errno after a root, and roots that set it aren't computed side by side.
    -fno-math-errno
    -fvisibility=hidden
    # A loop whose iterations may go side by side need not.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>
    # Vectors are handed on only inside a source, where no other compiler's convention matters.
    -Wno-psabi
    $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>
    $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
    $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)

# The row kernels are compiled once for each name in DAX_ISAS, with the options DAX_ISA_<name> and
# with OWN_ISA defined as the name.
set(DAX_ISAS OwnBaseline)
set(DAX_TABLES "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(DAX_VECTOR_WIDTH 512 CACHE STRING "Preferred vector width, in bits, of the AVX-512 kernels")
    mark_as_advanced(DAX_VECTOR_WIDTH)
    list(APPEND DAX_ISAS OwnAvx2 OwnAvx512)
    set(DAX_ISA_OwnAvx2 -mavx2 -mbmi -mbmi2 -mfma)
    set(DAX_ISA_OwnAvx512 ${DAX_ISA_OwnAvx2} -mavx512f -mavx512bw -mavx512vl -mavx512dq
        -mprefer-vector-width=${DAX_VECTOR_WIDTH})
    set(DAX_TABLES OWN_HAS_X86_TABLES=1)
endif()
target_compile_definitions(dax_code INTERFACE ${DAX_TABLES})

if(DAX_SANITIZE)
    add_compile_options(-fsanitize=${DAX_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -O1 -g1)
    add_link_options(-fsanitize=${DAX_SANITIZE})
endif()
