# One place for what every target of the tree shares.

add_library(velmar_flags INTERFACE)
target_compile_options(velmar_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                        -Wsuggest-override -Wzero-as-null-pointer-constant)
# Log lines carry file, line and function in every build, not only in debug ones.
target_compile_definitions(velmar_flags INTERFACE QT_MESSAGELOGCONTEXT QT_NO_FOREACH
                                                  QT_DEPRECATED_WARNINGS)

# Qt's headers are most of what the compiler reads; each set of them is precompiled once. No source
# may rely on that for its own includes: the lint reads them without.
if(VELMAR_PRECOMPILE AND NOT VELMAR_FUZZ)
    file(WRITE ${CMAKE_BINARY_DIR}/precompiled.cpp "")
endif()

# velmar_precompile(TARGET SET HEADERS...)
# The first target of a set names the headers; the others of the set reuse them.
function(velmar_precompile target set)
    if(NOT VELMAR_PRECOMPILE OR VELMAR_FUZZ)
        return()
    endif()
    set(owner velmar_${set}_headers)
    if(NOT TARGET ${owner})
        add_library(${owner} OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
        set_target_properties(${owner} PROPERTIES AUTOMOC OFF)
        target_link_libraries(${owner} PRIVATE Qt5::Core velmar_flags)
        target_compile_options(${owner} PRIVATE -fpch-preprocess)
        if(set STREQUAL "test")
            target_link_libraries(${owner} PRIVATE Qt5::Network Qt5::Test)
            velmar_test_options(${owner})
        endif()
        target_precompile_headers(${owner} PRIVATE ${ARGN})
    endif()
    target_compile_options(${target} PRIVATE -fpch-preprocess)
    target_precompile_headers(${target} REUSE_FROM ${owner})
endfunction()

# Tests are compiled more often than they run: what they test is optimised, they are not.
function(velmar_test_options target)
    target_compile_options(${target} PRIVATE -O0)
endfunction()

set(VELMAR_COMMON_HEADERS <algorithm> <array> <atomic> <condition_variable> <deque> <functional>
                          <map> <memory> <mutex> <optional> <random> <shared_mutex> <string>
                          <thread> <vector>)
# Those that many sources read. All of Qt's core costs every source a third more time.
set(VELMAR_QT_HEADERS <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QElapsedTimer> <QFile>
                      <QFileInfo> <QHash> <QJsonArray> <QJsonDocument> <QJsonObject> <QList>
                      <QLoggingCategory> <QMap> <QMetaType> <QMutex> <QObject> <QPointer>
                      <QSet> <QSettings> <QString> <QStringList> <QThread> <QTimer> <QVariant>
                      <QVariantMap> <QVector>)

# velmar_code(TARGET): options of a target that is not a test.
function(velmar_code target)
    velmar_precompile(${target} code ${VELMAR_QT_HEADERS} ${VELMAR_COMMON_HEADERS})
endfunction()

# velmar_folder(NAME DEPENDS targets... [SUBFOLDERS subfolders...] [HEADERS headers...])
# One OBJECT library per folder: its sources are found by their ending, its include path is its own
# folder, its subfolders and the paths of the targets that it names, nothing else.
function(velmar_folder name)
    cmake_parse_arguments(ARG "" "" "DEPENDS;SUBFOLDERS;HEADERS" ${ARGN})
    velmar_sources(sources . ${ARG_SUBFOLDERS})
    add_library(${name} OBJECT ${sources} ${ARG_HEADERS})
    velmar_include_folders(${name} . ${ARG_SUBFOLDERS})
    target_link_libraries(${name} PUBLIC Qt5::Core velmar_flags ${ARG_DEPENDS})
    velmar_code(${name})
endfunction()

# velmar_sources(VARIABLE folders...): the sources and headers of these subfolders.
function(velmar_sources variable)
    list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE folders)
    list(TRANSFORM folders APPEND /*.cpp OUTPUT_VARIABLE sources)
    list(TRANSFORM folders APPEND /*.h OUTPUT_VARIABLE headers)
    file(GLOB found CONFIGURE_DEPENDS ${sources} ${headers})
    set(${variable} ${found} PARENT_SCOPE)
endfunction()

# velmar_include_folders(TARGET folders...): these subfolders as public include paths.
function(velmar_include_folders target)
    list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE folders)
    target_include_directories(${target} PUBLIC ${folders})
endfunction()

# velmar_archive(NAME FOLDERS targets... LIBS libs...)
# The objects of some folders as one static library: a test program that links it takes in only what
# it uses, so that linking a hundred of them doesn't grow with the whole tree.
function(velmar_archive name)
    cmake_parse_arguments(ARG "" "" "FOLDERS;LIBS" ${ARGN})
    add_library(${name} STATIC)
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX AUTOMOC OFF)
    foreach(folder ${ARG_FOLDERS})
        target_sources(${name} PRIVATE $<TARGET_OBJECTS:${folder}>)
        target_include_directories(${name} INTERFACE
                                   $<TARGET_PROPERTY:${folder},INCLUDE_DIRECTORIES>)
    endforeach()
    target_link_libraries(${name} INTERFACE ${ARG_LIBS})
endfunction()

# velmar_test(NAME SOURCES source LIBS libs... [LABELS labels...])
function(velmar_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT;SOURCES" "LIBS;LABELS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    # The one file's moc output by a rule of its own: AUTOMOC would scan, and compile an empty file,
    # for each of more than a hundred programs.
    set(moc ${CMAKE_CURRENT_BINARY_DIR}/moc/${name}.moc)
    qt5_generate_moc(${ARG_SOURCES} ${moc})
    add_executable(${name} ${ARG_SOURCES} ${moc})
    set_target_properties(${name} PROPERTIES AUTOMOC OFF)
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/moc)
    velmar_test_options(${name})
    target_link_libraries(${name} PRIVATE Qt5::Core Qt5::Test velmar_flags ${ARG_LIBS})
    velmar_precompile(${name} test <QtTest/QtTest> ${VELMAR_COMMON_HEADERS})
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
                         ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TZ=:/etc/localtime;${VELMAR_TEST_ENVIRONMENT}")
endfunction()
