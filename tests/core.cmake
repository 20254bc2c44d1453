# The tests of the array library's core.
telvane_test(test_KXcommon)
telvane_test(test_Datablock SOURCES ${PROJECT_SOURCE_DIR}/Kavrix/Datablock.cpp)
telvane_test(test_views SOURCES compile/conversions.cpp)
telvane_test(test_arithmetic)
telvane_test(test_comparisons)
telvane_test(test_Convert)
telvane_test(test_reductions)

# Puts the test's own malloc in front of the real one, so that it can refuse memory on every machine. The unit is
# compiled into the test, where its calls can be led there also when the library is a shared one.
target_link_options(test_Datablock PRIVATE -Wl,--wrap=malloc)

# Code that must not compile: every case of rejected.cpp but case 0.
set(compile_command ${CMAKE_CXX_COMPILER} -std=c++20 -fsyntax-only -I${PROJECT_SOURCE_DIR})
if(CMAKE_CXX_COMPILER_TARGET)
    list(APPEND compile_command --target=${CMAKE_CXX_COMPILER_TARGET})
endif()
if(CMAKE_SYSROOT)
    list(APPEND compile_command --sysroot=${CMAKE_SYSROOT})
endif()
add_test(NAME compile.rejected.none
    COMMAND ${compile_command} -DCASE=0 ${CMAKE_CURRENT_SOURCE_DIR}/compile/rejected.cpp)
foreach(case RANGE 1 19)
    add_test(NAME compile.rejected.${case}
        COMMAND ${compile_command} -DCASE=${case} ${CMAKE_CURRENT_SOURCE_DIR}/compile/rejected.cpp)
    set_tests_properties(compile.rejected.${case} PROPERTIES WILL_FAIL ON)
endforeach()
