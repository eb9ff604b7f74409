# The library. Every source is compiled once, the row kernels once per instruction set, and the same
# objects make the shared library and the static one through which tests reach the internals.

find_package(Threads REQUIRED)

set(dax_globs frame arith move filter geometry transform color alpha tone)
list(TRANSFORM dax_globs PREPEND "${PROJECT_SOURCE_DIR}/_SRC/")
list(TRANSFORM dax_globs APPEND "/*.cpp")
file(GLOB dax_sources CONFIGURE_DEPENDS ${dax_globs})
set(dax_rows ${dax_sources})
list(FILTER dax_rows INCLUDE REGEX "_rows\\.cpp$")
list(FILTER dax_sources EXCLUDE REGEX "_rows\\.cpp$")

function(dax_objects target optimise)
    add_library(${target} OBJECT ${ARGN})
    target_link_libraries(${target} PRIVATE dax_code)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/_SRC)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    if(NOT DAX_SANITIZE)
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:${optimise}>)
    endif()
    set(dax_all_objects ${dax_all_objects} $<TARGET_OBJECTS:${target}> PARENT_SCOPE)
endfunction()

dax_objects(dax_objects -O2 ${dax_sources})
if(dax_rows)
    foreach(isa IN LISTS DAX_ISAS)
        dax_objects(dax_rows_${isa} -O3 ${dax_rows})
        target_compile_definitions(dax_rows_${isa} PRIVATE OWN_ISA=${isa})
        target_compile_options(dax_rows_${isa} PRIVATE ${DAX_ISA_${isa}})
    endforeach()
endif()

# Else CMake would add the C++ runtime to the C driver's command line, for the objects' sake.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")

add_library(daxlib SHARED ${dax_all_objects})
add_library(daxlib::daxlib ALIAS daxlib)
set_target_properties(daxlib PROPERTIES
    LINKER_LANGUAGE C
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    PUBLIC_HEADER ${PROJECT_SOURCE_DIR}/_SRC/frame/daxlib.h
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/daxlib.map)
target_include_directories(daxlib INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/_SRC/frame>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(daxlib PRIVATE Threads::Threads m)
# nodelete: threads call back into the library when they end, whoever has closed it by then.
target_link_options(daxlib PRIVATE
    -Wl,-z,nodelete -Wl,--as-needed -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/daxlib.map)
if(NOT DAX_SANITIZE)
    target_link_options(daxlib PRIVATE -Wl,-z,defs)
endif()

add_library(daxlib_internal STATIC EXCLUDE_FROM_ALL ${dax_all_objects})
set_target_properties(daxlib_internal PROPERTIES LINKER_LANGUAGE CXX)
target_compile_definitions(daxlib_internal INTERFACE DAX_STATIC ${DAX_TABLES})
target_include_directories(daxlib_internal INTERFACE
    ${PROJECT_SOURCE_DIR}/_SRC ${PROJECT_SOURCE_DIR}/_SRC/frame)
target_link_libraries(daxlib_internal INTERFACE Threads::Threads m)
