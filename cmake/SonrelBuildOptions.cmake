# SPDX-License-Identifier: MIT
# The compiler options of all our targets. The output of the engine is defined to the bit: contraction of
# multiply and add is off for every processor.
add_library(SonrelBuildOptions INTERFACE)
target_compile_features(SonrelBuildOptions INTERFACE cxx_std_20)
target_compile_options(SonrelBuildOptions INTERFACE
    -ffp-contract=off
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${SONREL_WERROR}>:-Werror>)
target_compile_definitions(SonrelBuildOptions INTERFACE QT_NO_KEYWORDS)
# A library must have no undefined symbols, except an engine that is linked to no project library.
target_link_options(SonrelBuildOptions INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:SONREL_ALLOW_UNDEFINED>>>:-Wl,-z,defs>)

# Position-independent code with hidden symbols, for the objects of shared libraries.
function(sonrel_library_properties)
    set_target_properties(${ARGV} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# An object library of ours: compiled once, linked into a shared library and into its unit tests.
# Compiles eight sources of a target as one: the headers of the tests and of the program take longer to
# compile than their sources. The names in the anonymous namespaces of a target must be unique.
function(sonrel_unity_build target)
    if(SONREL_UNITY_BUILD)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
        # GCC reports anonymous types of every file except the main one.
        target_compile_options(${target} PRIVATE
            $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()

function(sonrel_object_library name)
    add_library(${name} OBJECT)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
    target_link_libraries(${name} PRIVATE SonrelBuildOptions)
    sonrel_library_properties(${name})
    if(SONREL_UNITY_BUILD STREQUAL "ALL")
        sonrel_unity_build(${name})
    endif()
endfunction()

# A shared library that is made of object libraries only.
function(sonrel_shared_library name output)
    add_library(${name} SHARED)
    add_library(Sonrel::${output} ALIAS ${name})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:SonrelBuildOptions>)
    sonrel_library_properties(${name})
    set_target_properties(${name} PROPERTIES
        EXPORT_NAME ${output}
        LINKER_LANGUAGE CXX
        VERSION ${PROJECT_VERSION}
        SOVERSION ${SONREL_SOVERSION})
endfunction()
