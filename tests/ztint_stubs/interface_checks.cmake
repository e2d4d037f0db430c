# Checks of the public interface as a user sees it: a C99 program against the header and
# the shared library, the set of exported symbols, and distinct handle types.
# Included from tests/CMakeLists.txt.

add_executable(ztint_c_program ${CMAKE_CURRENT_LIST_DIR}/ztint_c_program.c)
target_link_libraries(ztint_c_program PRIVATE ztint)
target_include_directories(ztint_c_program PRIVATE ${ZTINT_GENERATED_DIR}/include)
set_target_properties(ztint_c_program PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON
                      C_EXTENSIONS OFF)
target_compile_options(ztint_c_program PRIVATE -pedantic-errors)
if(ZTINT_SANITIZE)
  # The library's C++ sanitizer checks need the C++ runtime of the sanitizers, which
  # only the C++ driver links.
  set_target_properties(ztint_c_program PROPERTIES LINKER_LANGUAGE CXX)
endif()
add_test(NAME ztint_c_program COMMAND ztint_c_program)

add_test(NAME ztint_exports
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/check_exports.py ${CMAKE_NM}
                 $<TARGET_FILE:ztint> ${ZTINT_EXPORT_LIST})

add_test(NAME ztint_handle_types
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/check_handle_types.py
                 ${CMAKE_C_COMPILER} ${CMAKE_CXX_COMPILER}
                 ${CMAKE_CURRENT_LIST_DIR}/ztint_handle_mixup.c
                 ${PROJECT_SOURCE_DIR}/include ${ZTINT_GENERATED_DIR}/include)

# The conformance test calls every stub through the generated invokers.
target_sources(test_ztint_stubs PRIVATE ${ZTINT_GENERATED_DIR}/tests/ztint_stub_invokers.cpp)
target_include_directories(test_ztint_stubs PRIVATE ${ZTINT_GENERATED_DIR}/tests)
add_dependencies(test_ztint_stubs ztint_generated)

add_test(NAME ztint_opcode_literals
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/check_opcode_literals.py
                 ${PROJECT_SOURCE_DIR})

add_test(NAME ztint_header_names
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/check_header_names.py
                 ${ZTINT_GENERATED_DIR}/include/ztint_api.h)
