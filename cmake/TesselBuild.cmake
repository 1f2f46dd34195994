# Build conventions shared by every layer: warnings, sanitizers, the stage tree
# and the test and fuzzer helpers.

set(TESSEL_STAGE_DIR ${CMAKE_BINARY_DIR}/stage)

add_compile_options(-Wall -Wextra -Wno-unused-parameter)
if(TESSEL_WERROR)
  add_compile_options(-Werror)
endif()

if(TESSEL_SANITIZE)
  string(REPLACE ";" "," _tessel_san "${TESSEL_SANITIZE}")
  add_compile_options(-fsanitize=${_tessel_san} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${_tessel_san})
  # Sanitizer runtimes live in the executable; modules must not insist on
  # resolving them at link time.
  set(TESSEL_ALLOW_UNDEFINED_IN_MODULES ON)
endif()

if(TESSEL_FUZZ)
  # Coverage instrumentation for every layer, so the fuzzers are guided
  # through the code they exercise, not only through their own source.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(TESSEL_COVERAGE)
  # Source-based coverage, read back with llvm-profdata and llvm-cov.
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

# tessel_stage_executable(target): the program runs from stage/bin.
function(tessel_stage_executable target)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${TESSEL_STAGE_DIR}/bin)
endfunction()

# tessel_link_static(target): a one-shot tool whose every run is mostly
# start-up is linked whole, with no dynamic loader work. Instrumented builds
# keep the shared libraries, which their runtimes need.
function(tessel_link_static target)
  if(TESSEL_SANITIZE OR TESSEL_COVERAGE OR TESSEL_FUZZ)
    target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
    return()
  endif()
  # Without its debug sections the file the kernel maps is half the size.
  target_link_options(${target} PRIVATE -static -Wl,--strip-debug)
endfunction()

# tessel_stage_framework(target name): a bundle directory whose code is
# Frameworks/<name>.framework/<name>, the way the plug-in looks for it.
function(tessel_stage_framework target name)
  set_target_properties(${target} PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY ${TESSEL_STAGE_DIR}/Frameworks/${name}.framework
    OUTPUT_NAME ${name} PREFIX "" SUFFIX "")
  tessel_module_exports(${target})
endfunction()

# tessel_module_exports(target [SYMBOLS ...]): only the named entry points
# leave the module; everything else, the static layers included, stays local.
function(tessel_module_exports target)
  cmake_parse_arguments(ARG "" "" "SYMBOLS" ${ARGN})
  if(ARG_SYMBOLS)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.exports)
    list(JOIN ARG_SYMBOLS "; " globals)
    file(WRITE ${script} "{ global: ${globals}; local: *; };\n")
    target_link_options(${target} PRIVATE -Wl,--version-script=${script})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(NOT TESSEL_ALLOW_UNDEFINED_IN_MODULES)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# tessel_stage_file(source destination): copies a file into the stage tree
# at build time, relative to the stage root.
function(tessel_stage_file target source destination)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${TESSEL_STAGE_DIR}/${destination}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${source} ${TESSEL_STAGE_DIR}/${destination}/
    VERBATIM)
endfunction()

# tessel_add_gtest(name SOURCES ... LIBS ... [LABELS ...]): one
# GoogleTest binary per layer, every test case registered with CTest.
function(tessel_add_gtest name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(TESSEL_SANITIZE)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/SanitizerDefaults.cpp)
  endif()
  target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/PrivateRuntimeDir.cpp)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
  target_link_libraries(${name} PRIVATE GTest::gtest GTest::gtest_main ${ARG_LIBS})
  target_compile_definitions(${name} PRIVATE
    TESSEL_STAGE_DIR="${TESSEL_STAGE_DIR}"
    TESSEL_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    TESSEL_TESTDATA_DIR="${PROJECT_SOURCE_DIR}/testdata")
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT QT_QPA_PLATFORM=offscreen LABELS "${ARG_LABELS}")
endfunction()

# tessel_add_fuzzer(name SOURCES ... LIBS ... [COVERS dir...]): a libFuzzer
# target, built only with TESSEL_FUZZ under clang. Its seed corpus is
# fuzz/<name>/ beside the declaring CMakeLists.txt, with an optional libFuzzer
# dictionary fuzz/<name>.dict; COVERS names the source folders whose coverage
# the fuzzer answers for (the layer above its tests folder by default).
# Every fuzzer is listed in <build>/fuzzers.txt for scripts/fuzz.sh.
function(tessel_add_fuzzer name)
  if(NOT TESSEL_FUZZ)
    return()
  endif()
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;COVERS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  if(NOT ARG_COVERS)
    get_filename_component(ARG_COVERS ${CMAKE_CURRENT_SOURCE_DIR} DIRECTORY)
  endif()
  list(JOIN ARG_COVERS "," covers)
  set(seeds ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/${name})
  set_property(GLOBAL APPEND PROPERTY TESSEL_FUZZERS
    "${name}\t$<TARGET_FILE:${name}>\t${seeds}\t${seeds}.dict\t${covers}")
endfunction()

# tessel_write_fuzzer_list(): called once at the end of the top level; also
# adds the target "fuzzers" that builds them all and nothing else.
function(tessel_write_fuzzer_list)
  if(NOT TESSEL_FUZZ)
    return()
  endif()
  get_property(fuzzers GLOBAL PROPERTY TESSEL_FUZZERS)
  add_custom_target(fuzzers)
  foreach(entry ${fuzzers})
    string(REGEX MATCH "^[^\t]+" name "${entry}")
    add_dependencies(fuzzers ${name})
  endforeach()
  list(JOIN fuzzers "\n" lines)
  file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/fuzzers.txt CONTENT "${lines}\n")
endfunction()
