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

# Shared libraries unless BUILD_SHARED_LIBS is set and off.
set(SONREL_IS_STATIC OFF)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
    set(SONREL_IS_STATIC ON)
endif()

# Position-independent code with hidden symbols, for the objects of shared libraries.
function(sonrel_library_properties)
    set_target_properties(${ARGV} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()

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

# An object library of ours: compiled once, linked into a shared library and into its unit tests.
function(sonrel_object_library name)
    add_library(${name} OBJECT)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
    target_link_libraries(${name} PRIVATE SonrelBuildOptions)
    sonrel_library_properties(${name})
    if(SONREL_UNITY_BUILD STREQUAL "ALL")
        sonrel_unity_build(${name})
    endif()
endfunction()

# A library that is made of object libraries only: shared, or static with BUILD_SHARED_LIBS=OFF.
function(sonrel_library name output)
    if(SONREL_IS_STATIC)
        add_library(${name} STATIC)
    else()
        add_library(${name} SHARED)
    endif()
    add_library(Sonrel::${output} ALIAS ${name})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:SonrelBuildOptions>)
    sonrel_library_properties(${name})
    set_target_properties(${name} PROPERTIES
        EXPORT_NAME ${output}
        LINKER_LANGUAGE CXX
        VERSION ${PROJECT_VERSION}
        SOVERSION ${SONREL_SOVERSION})
endfunction()

# The folder of our modules, next to our libraries. The version is a part of its name: a library never loads
# a module of another version.
set(SONREL_MODULE_FOLDER sonrel-${PROJECT_VERSION})

# sonrel_module(<name> <file> LOADED <source> LINKED <source> LINK <library>...)
# The objects of <name>Objects, which link libraries that most hosts do not need. <name>Module has them in a
# shared library, a module, which the source LOADED loads at its first use. <name>Linked has them for unit
# tests, with the source LINKED in place of LOADED.
function(sonrel_module name file)
    cmake_parse_arguments(arg "" "LOADED;LINKED" "LINK" ${ARGN})
    target_link_libraries(${name}Objects PUBLIC SonrelHeaders ${arg_LINK})
    set_target_properties(${name}Objects PROPERTIES
        SONREL_LINK "${arg_LINK}"
        SONREL_LINKED ${CMAKE_CURRENT_SOURCE_DIR}/${arg_LINKED}
        SONREL_LOADED ${CMAKE_CURRENT_SOURCE_DIR}/${arg_LOADED})
    add_library(${name}Linked STATIC ${arg_LINKED} $<TARGET_OBJECTS:${name}Objects>)
    target_include_directories(${name}Linked PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
    target_link_libraries(${name}Linked PUBLIC SonrelHeaders ${arg_LINK} PRIVATE SonrelBuildOptions)
    sonrel_library_properties(${name}Linked)
    if(SONREL_IS_STATIC)
        return()
    endif()
    add_library(${name}Module MODULE $<TARGET_OBJECTS:${name}Objects>)
    target_link_libraries(${name}Module PRIVATE SonrelBuildOptions ${arg_LINK})
    set_target_properties(${name}Module PROPERTIES
        LINKER_LANGUAGE CXX
        LIBRARY_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:Sonrel>/${SONREL_MODULE_FOLDER}
        OUTPUT_NAME ${file}
        PREFIX "")
endfunction()

# Adds the use of a module to a library or a program of ours. Static libraries contain the objects.
function(sonrel_use_module target name)
    if(SONREL_IS_STATIC)
        get_target_property(linked ${name}Objects SONREL_LINKED)
        get_target_property(libraries ${name}Objects SONREL_LINK)
        target_sources(${target} PRIVATE ${linked} $<TARGET_OBJECTS:${name}Objects>)
        target_link_libraries(${target} PRIVATE ${libraries})
    else()
        get_target_property(loaded ${name}Objects SONREL_LOADED)
        target_sources(${target} PRIVATE ${loaded})
        target_compile_definitions(${target} PRIVATE
            SONREL_MODULE_FOLDER="${SONREL_MODULE_FOLDER}")
        target_link_libraries(${target} PRIVATE ${CMAKE_DL_LIBS})
        add_dependencies(${target} ${name}Module)
    endif()
endfunction()
