# Every target of the house: the same language, the same warnings, the same refusal of implicit text
# conversions; and one static library per folder, linking only what its floor allows.

add_library(kv_options INTERFACE)
target_compile_definitions(kv_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS)
target_compile_options(kv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(KV_WARNINGS_AS_ERRORS)
    target_compile_options(kv_options INTERFACE -Werror)
endif()
if(KV_SANITIZE)
    target_compile_options(kv_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kv_options INTERFACE -fsanitize=address,undefined)
endif()
if(KV_FUZZ)
    target_compile_options(kv_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# kv_library(<folder> SOURCES ... LINKS ...): the folder's library, called kv_<folder>.
function(kv_library folder)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(kv_${folder} STATIC ${ARG_SOURCES})
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH parent)
    target_include_directories(kv_${folder} PUBLIC ${parent})
    target_link_libraries(kv_${folder} PUBLIC ${ARG_LINKS} PRIVATE kv_options)
endfunction()

# kv_program(<name> SOURCES ... LINKS ...): a program that stands in the root of the build folder.
function(kv_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} kv_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()

# What a program says outside of Qt's test log, a simulator beside the test or the test's own end, carries
# the words of that log, so that it counts as well.
string(CONCAT kv_message_pattern
    "%{if-warning}QWARN  : %{endif}%{if-critical}QSYSTEM: %{endif}%{if-fatal}QFATAL : %{endif}"
    "%{if-category}%{category}: %{endif}%{message}")

# kv_test(<name> LINKS ... [SOURCES ...] [TIMEOUT seconds]): the test program <name>.cpp of this folder.
# A warning that no test expects, a skipped test and an expected failure all count as failures.
function(kv_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${name}.cpp ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} kv_testkit kv_options)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        FAIL_REGULAR_EXPRESSION "QWARN  :;QSYSTEM:;QFATAL :;SKIP   :;XFAIL  :;XPASS  :"
        ENVIRONMENT "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/kit/lsan.supp;UBSAN_OPTIONS=print_stacktrace=1;QT_MESSAGE_PATTERN=${kv_message_pattern}")
endfunction()

# kv_fuzz(<name> LINKS ... [SOURCES ...]): the fuzz target fuzz_<name>.cpp of this folder.
function(kv_fuzz name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(fuzz_${name} fuzz_${name}.cpp ${ARG_SOURCES})
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_LINKS} kv_options)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzz_targets fuzz_${name})
endfunction()
