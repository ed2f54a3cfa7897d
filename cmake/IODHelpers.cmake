# IODHelpers.cmake: functions shared by every IOD subdirectory.
#
#   iod_target_warnings(<target>)
#       Strict warnings for GCC and Clang (and -Werror while
#       IOD_WARNINGS_AS_ERRORS is ON, the default in a top-level build).
#
#   iod_add_test(<name> SOURCES <src>... [LIBS <lib>...] [TIMEOUT <seconds>])
#       A GoogleTest executable <name> linked with GTest::gtest_main and
#       <lib>..., with iod_target_warnings, registered with ctest through
#       gtest_discover_tests (discovery at test time, so that sanitizer builds
#       never run test binaries while building). Default timeout 120 s per test.
#
#   iod_install_library(<target> <include-dir>)
#       Installs <target> into the export set IODTargets (so that
#       find_package(IOD) yields IOD::<name>, where <name> is the target name
#       without a leading "iod_") and installs the contents of <include-dir>
#       under include/ (e.g. <include-dir>/Dicom/Dicom_Msg.h becomes
#       include/Dicom/Dicom_Msg.h; included tables such as *.def go too).
#       Every library that an installed IOD library links PUBLICly
#       (IOD::dicom included) must be installed this way.
#
#   Warnings (iod_target_warnings): -Wall -Wextra -Wpedantic
#   -Wnon-virtual-dtor -Wformat=2 -Wimplicit-fallthrough -Wundef, and for GCC
#   -Wshadow=local -Wduplicated-cond -Wlogical-op (and -Wno-restrict before
#   GCC 13, whose -Wrestrict misfires inside libstdc++).
include_guard(GLOBAL)

function(iod_target_warnings target)
    get_target_property(_type ${target} TYPE)
    if(_type STREQUAL "INTERFACE_LIBRARY")
        return()
    endif()
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE
            -Wall
            -Wextra
            -Wpedantic
            -Wnon-virtual-dtor
            -Wformat=2
            -Wimplicit-fallthrough
            -Wundef)
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            target_compile_options(${target} PRIVATE -Wshadow=local -Wduplicated-cond -Wlogical-op)
            if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
                # GCC 12 reports false -Wrestrict errors inside libstdc++ for
                # std::string concatenation at -O2/-O3 (GCC bug 105329).
                target_compile_options(${target} PRIVATE -Wno-restrict)
            endif()
        endif()
        if(IOD_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
endfunction()

function(iod_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "TIMEOUT" "SOURCES;LIBS")
    if(NOT ARG_SOURCES)
        message(FATAL_ERROR "iod_add_test(${name}): SOURCES is required")
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main Threads::Threads)
    iod_target_warnings(${name})
    gtest_discover_tests(${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${name}")
endfunction()

function(iod_install_library target include_dir)
    if(NOT TARGET ${target})
        message(FATAL_ERROR "iod_install_library: no target ${target}")
    endif()
    string(REGEX REPLACE "^iod_" "" _export_name "${target}")
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${_export_name})
    if(NOT IOD_INSTALL)
        return()
    endif()
    install(TARGETS ${target}
        EXPORT IODTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    if(NOT "${include_dir}" STREQUAL "")
        if(NOT IS_ABSOLUTE "${include_dir}")
            set(include_dir "${CMAKE_CURRENT_SOURCE_DIR}/${include_dir}")
        endif()
        # Everything under the include directory (headers and the tables
        # they include, e.g. *.def), but no build or documentation files.
        install(DIRECTORY "${include_dir}/"
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
            PATTERN "CMakeLists.txt" EXCLUDE
            PATTERN "*.cmake" EXCLUDE
            PATTERN "*.in" EXCLUDE
            PATTERN "*.md" EXCLUDE)
    endif()
    set_property(GLOBAL APPEND PROPERTY IOD_INSTALLED_LIBRARIES ${target})
endfunction()

# iod_add_platform_library(<target> <alias-name> [INTERFACE] [SOURCES ...] [LIBS ...])
#   Internal helper for platform/: a library with headers in ./inc, the alias
#   IOD::<alias-name>, warnings and install rules.
function(iod_add_platform_library target alias)
    cmake_parse_arguments(PARSE_ARGV 2 ARG "INTERFACE" "" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS")
    set(_inc "${CMAKE_CURRENT_SOURCE_DIR}/inc")
    if(ARG_INTERFACE)
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE
            $<BUILD_INTERFACE:${_inc}>
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
        target_compile_features(${target} INTERFACE cxx_std_20)
    else()
        add_library(${target} ${ARG_SOURCES})
        target_include_directories(${target} PUBLIC
            $<BUILD_INTERFACE:${_inc}>
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
        target_compile_features(${target} PUBLIC cxx_std_20)
        target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
        set_target_properties(${target} PROPERTIES
            VERSION ${PROJECT_VERSION}
            SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
        iod_target_warnings(${target})
    endif()
    add_library(IOD::${alias} ALIAS ${target})
    iod_install_library(${target} "${_inc}")
endfunction()
