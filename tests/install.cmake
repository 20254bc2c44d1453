# What is installed, as its users meet it: a program that knows nothing of this tree is built against the
# package, by find_package and by pkg-config, and the installed programs find a wheel.
find_package(PkgConfig REQUIRED)
set(install_dir ${CMAKE_CURRENT_BINARY_DIR}/installed)
set(install_env
    BUILD=${PROJECT_BINARY_DIR}
    CMAKE=${CMAKE_COMMAND}
    CXX=${CMAKE_CXX_COMPILER}
    CXXFLAGS=${CMAKE_CXX_FLAGS}
    LIBDIR=${CMAKE_INSTALL_LIBDIR}
    PKG_CONFIG=${PKG_CONFIG_EXECUTABLE}
    TOOLCHAIN=${CMAKE_TOOLCHAIN_FILE}
)
if(TELVANE_SANITIZE)
    list(APPEND install_env "CXXFLAGS=${CMAKE_CXX_FLAGS} -fsanitize=${TELVANE_SANITIZE}")
endif()
if(CMAKE_SYSROOT)
    # What pkg-config tells of the machine that builds is of no use for the other one.
    list(APPEND install_env "CXXFLAGS=${CMAKE_CXX_FLAGS} --sysroot=${CMAKE_SYSROOT}"
        PKG_CONFIG_LIBDIR=${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig)
endif()

foreach(step IN ITEMS Install FindPackage PkgConfig Programs)
    add_test(NAME install.${step}
        COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/install/check.sh ${step} ${install_dir}
            ${CMAKE_CROSSCOMPILING_EMULATOR})
    set_tests_properties(install.${step} PROPERTIES
        ENVIRONMENT "${install_env}" FIXTURES_REQUIRED installed TIMEOUT ${telvane_test_timeout})
endforeach()
set_tests_properties(install.Install PROPERTIES FIXTURES_REQUIRED "" FIXTURES_SETUP installed)
