# One place for the flags, defines and precompiled header that every library,
# tool, test and benchmark of the tree shares.

# The precompiled header is built once, in this object library, and reused by
# every other target (they all compile with the same flags). It holds QtCore
# only: the Firebird layer and the non-visual toolkit don't link Gui or Widgets.
add_library(lar_pch OBJECT ${CMAKE_CURRENT_LIST_DIR}/pch.cpp)

function(lar_common_options target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wno-missing-field-initializers)
    if(LAR_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII
        QT_NO_CAST_TO_ASCII
        QT_NO_CAST_FROM_BYTEARRAY
        QT_NO_URL_CAST_FROM_STRING
        QT_NO_FOREACH
        QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
        QT_DISABLE_DEPRECATED_BEFORE=0x060000
        LAR_VERSION="${PROJECT_VERSION}")
    target_link_libraries(${target} PRIVATE Qt6::Core)
    if(NOT target STREQUAL "lar_pch")
        target_precompile_headers(${target} REUSE_FROM lar_pch)
    endif()
endfunction()

lar_common_options(lar_pch)
target_precompile_headers(lar_pch PRIVATE ${CMAKE_CURRENT_LIST_DIR}/pch.h)

# The Qt modules of a target: widgets unless it says CORE_ONLY.
function(lar_qt_modules out core_only)
    if(core_only)
        set(${out} Qt6::Core PARENT_SCOPE)
    else()
        set(${out} Qt6::Core Qt6::Gui Qt6::Widgets PARENT_SCOPE)
    endif()
endfunction()

# lar_add_library(name [CORE_ONLY] SOURCES... [DEPENDS libs...])
function(lar_add_library name)
    cmake_parse_arguments(ARG "CORE_ONLY" "" "SOURCES;DEPENDS;PUBLIC_LIBS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    lar_common_options(${name})
    lar_qt_modules(qt ${ARG_CORE_ONLY})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${qt} ${ARG_DEPENDS} ${ARG_PUBLIC_LIBS})
endfunction()

# lar_add_executable(name [CORE_ONLY] SOURCES... [DEPENDS libs...])
function(lar_add_executable name)
    cmake_parse_arguments(ARG "CORE_ONLY" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    lar_common_options(${name})
    lar_qt_modules(qt ${ARG_CORE_ONLY})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PRIVATE ${qt} ${ARG_DEPENDS})
endfunction()

# lar_add_test(name SOURCES... [DEPENDS libs...] [LABELS labels...])
# A Qt Test executable registered with CTest, run offscreen.
function(lar_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LABELS" ${ARGN})
    lar_add_executable(${name} SOURCES ${ARG_SOURCES} DEPENDS Qt6::Test lar_testsupport ${ARG_DEPENDS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LAR_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data;LAR_BUILD_DIR=${PROJECT_BINARY_DIR}"
        LABELS "${ARG_LABELS}"
        TIMEOUT 600)
endfunction()
