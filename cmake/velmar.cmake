# One place for what every target of the tree shares.

add_library(velmar_flags INTERFACE)
target_compile_options(velmar_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
# Log lines carry file, line and function in every build, not only in debug ones.
target_compile_definitions(velmar_flags INTERFACE QT_MESSAGELOGCONTEXT QT_NO_FOREACH
                                                  QT_DEPRECATED_WARNINGS)

# velmar_folder(NAME DEPENDS targets... [HEADERS headers...])
# One OBJECT library per folder: its sources are found by their ending, its include path is its own
# folder and those of the targets that it names, nothing else.
function(velmar_folder name)
    cmake_parse_arguments(ARG "" "" "DEPENDS;HEADERS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp
         ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    add_library(${name} OBJECT ${sources} ${ARG_HEADERS})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC Qt5::Core velmar_flags ${ARG_DEPENDS})
endfunction()

# velmar_test(NAME SOURCES sources... LIBS libs... [LABELS labels...])
function(velmar_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE Qt5::Core Qt5::Test velmar_flags ${ARG_LIBS})
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
                         ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TZ=:/etc/localtime;${VELMAR_TEST_ENVIRONMENT}")
endfunction()
