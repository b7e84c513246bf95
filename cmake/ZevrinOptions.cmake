# What the library is built with. The core needs Boost, JSON and the log; everything else is on when it is
# found. A feature that is asked for by name (-DZEVRIN_GENICAM=ON) and whose library is missing is an error.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.60 REQUIRED COMPONENTS thread chrono date_time)
find_package(nlohmann_json 3 REQUIRED)
find_package(spdlog REQUIRED)

# zevrin_feature(NAME found "text"): the option ZEVRIN_<NAME>, on when its library was found.
function(zevrin_feature name found text)
    set(option ZEVRIN_${name})
    if(DEFINED CACHE{${option}} AND ${option} AND NOT found)
        message(FATAL_ERROR "${option} is ON, but its library was not found: ${text}")
    endif()
    option(${option} "${text}" ${found})
    if(${option})
        set(state on)
    elseif(found)
        set(state "off (as asked)")
    else()
        set(state "off (library not found)")
    endif()
    set_property(GLOBAL APPEND_STRING PROPERTY ZEVRIN_SUMMARY "\n    ${text}: ${state}")
endfunction()

function(zevrin_found variable out)
    if(${variable})
        set(${out} ON PARENT_SCOPE)
    else()
        set(${out} OFF PARENT_SCOPE)
    endif()
endfunction()

pkg_check_modules(ARAVIS QUIET IMPORTED_TARGET aravis-0.8>=0.8.20)
zevrin_found(ARAVIS_FOUND found)
zevrin_feature(GENICAM ${found} "GigE Vision and USB3 Vision cameras (Aravis)")

find_package(PNG QUIET)
zevrin_found(PNG_FOUND found)
zevrin_feature(PNG ${found} "PNG files (libpng)")

# libtiff tells the errors of one file, and not of all at once, since 4.5.
pkg_check_modules(TIFF QUIET IMPORTED_TARGET libtiff-4>=4.5)
zevrin_found(TIFF_FOUND found)
zevrin_feature(TIFF ${found} "TIFF files (libtiff 4.5)")

# OpenCV's own package file comes with all of its modules; two are needed.
find_path(OPENCV_INCLUDE_DIR opencv2/imgproc.hpp PATH_SUFFIXES opencv4)
find_library(OPENCV_CORE_LIBRARY opencv_core)
find_library(OPENCV_IMGPROC_LIBRARY opencv_imgproc)
mark_as_advanced(OPENCV_INCLUDE_DIR OPENCV_CORE_LIBRARY OPENCV_IMGPROC_LIBRARY)
set(found OFF)
if(OPENCV_INCLUDE_DIR AND OPENCV_CORE_LIBRARY AND OPENCV_IMGPROC_LIBRARY)
    set(found ON)
endif()
zevrin_feature(OPENCV ${found} "Colours of raw mosaics (OpenCV imgproc)")
if(ZEVRIN_OPENCV)
    add_library(zevrin_opencv INTERFACE IMPORTED)
    target_include_directories(zevrin_opencv INTERFACE ${OPENCV_INCLUDE_DIR})
    target_link_libraries(zevrin_opencv INTERFACE ${OPENCV_IMGPROC_LIBRARY} ${OPENCV_CORE_LIBRARY})
endif()

find_package(CLI11 QUIET)
zevrin_found(CLI11_FOUND found)
zevrin_feature(TOOLS ${found} "The command line tool (CLI11)")

find_package(GTest QUIET)
if(BUILD_TESTING AND NOT GTest_FOUND)
    message(WARNING "GoogleTest was not found: no tests are built")
    set(BUILD_TESTING OFF)
endif()

option(ZEVRIN_BENCHMARKS "Benchmarks (Google Benchmark)" OFF)
if(ZEVRIN_BENCHMARKS)
    find_package(benchmark REQUIRED)
endif()

option(ZEVRIN_WERROR "Warnings are errors" OFF)
set(ZEVRIN_SANITIZE "" CACHE STRING "Sanitizers to build with, such as 'address,undefined' or 'thread'")

if(ZEVRIN_SANITIZE)
    add_compile_options(-fsanitize=${ZEVRIN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZEVRIN_SANITIZE})
endif()

option(ZEVRIN_FUZZER "Fuzz harnesses for libFuzzer (needs clang)" OFF)
if(ZEVRIN_FUZZER)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# No path of the machine that built it in messages or binaries.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)

function(zevrin_print_summary)
    if(ZEVRIN_SANITIZE)
        set(sanitizers ", sanitizers: ${ZEVRIN_SANITIZE}")
    endif()
    get_property(features GLOBAL PROPERTY ZEVRIN_SUMMARY)
    message(STATUS "Zevrin ${PROJECT_VERSION}, ${CMAKE_BUILD_TYPE}${sanitizers}"
                   "\n    Core with simulated cameras: on${features}"
                   "\n    Tests (GoogleTest): ${BUILD_TESTING}"
                   "\n    Benchmarks (Google Benchmark): ${ZEVRIN_BENCHMARKS}")
endfunction()
