# Shared compile settings for every target of the project.
function(vekr_target_defaults target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                             -Wno-sign-conversion -Wnon-virtual-dtor
                                             -Wold-style-cast -Woverloaded-virtual)
    if(VEKR_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()

# A library of one layer: sources under src/, public headers under include/.
function(vekr_add_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${target} STATIC ${ARG_SOURCES})
  target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include)
  target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  vekr_target_defaults(${target})
endfunction()

# A GoogleTest executable; each case becomes its own CTest entry.
# LABELS: "threads" marks the tests that the ThreadSanitizer pass runs,
#         "gui" sets the offscreen Qt platform.
function(vekr_add_test target)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  # The harness: the project's (tests/support) and the layer's own (its tests/support).
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support
                                               ${CMAKE_CURRENT_SOURCE_DIR}/support)
  # TestResult::FAIL() is the framework's verdict; gtest's FAIL() is spelled GTEST_FAIL().
  target_compile_definitions(${target} PRIVATE GTEST_DONT_DEFINE_FAIL=1
                             VEKR_TEST_FIXTURES_DIR="${PROJECT_SOURCE_DIR}/tests/fixtures")
  vekr_target_defaults(${target})
  add_dependencies(${target} vekr_resources)
  set(props TIMEOUT 60)
  if(ARG_LABELS)
    # The discovery script cannot carry a list, so several labels become one ("threads_gui");
    # ctest's label filters are regular expressions, so -L threads still selects it.
    list(JOIN ARG_LABELS "_" labels)
    list(APPEND props LABELS "${labels}")
  endif()
  if("gui" IN_LIST ARG_LABELS)
    list(APPEND props ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
  endif()
  gtest_discover_tests(${target} WORKING_DIRECTORY ${CMAKE_BINARY_DIR} PROPERTIES ${props}
                       DISCOVERY_TIMEOUT 30)
endfunction()

# Compiles `target` against the public headers of the given layer libraries without linking
# them. For code loaded into the module's process (the dialogs plugin): the module file holds
# the one copy of each library, so a second copy in the plugin would split their state.
function(vekr_use_headers target scope)
  foreach(lib ${ARGN})
    target_include_directories(${target} ${scope}
                               $<TARGET_PROPERTY:${lib},INTERFACE_INCLUDE_DIRECTORIES>)
    target_compile_definitions(${target} ${scope}
                               $<TARGET_PROPERTY:${lib},INTERFACE_COMPILE_DEFINITIONS>)
  endforeach()
endfunction()
