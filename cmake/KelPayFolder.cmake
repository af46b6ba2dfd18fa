# One folder, one static target: kelpay_folder(<name> SOURCES ... [PUBLIC <targets>] [PRIVATE <targets>])
# The target is kelpay_<name>. PUBLIC names what its headers need, PRIVATE what only its sources need. Includes name the
# folder from the root: #include "platform/Bytes.h".
function(kelpay_folder name)
    cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(kelpay_${name} STATIC ${arg_SOURCES})
    kelpay_target(kelpay_${name})
    target_link_libraries(kelpay_${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
    set_property(GLOBAL APPEND PROPERTY KELPAY_FOLDERS kelpay_${name})
endfunction()

# kelpay_platform_sources(<target> <name>...): what asks the system, one source each: <name>_${KELPAY_PLATFORM}.cpp, or
# <name>_none.cpp where that platform leaves it.
function(kelpay_platform_sources target)
    foreach(name IN LISTS ARGN)
        set(source ${name}_${KELPAY_PLATFORM}.cpp)
        if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${source})
            set(source ${name}_none.cpp)
        endif()
        target_sources(${target} PRIVATE ${source})
    endforeach()
endfunction()

# What every target of ours has: warnings, includes from the root, Qt's meta-object compiler.
function(kelpay_target target)
    set_target_properties(${target} PROPERTIES AUTOMOC ON)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kelpay_build>)
    # What Qt compiles from QML is large: one unit a target builds in a fraction of the time. It shadows its own names.
    get_target_property(generated ${target} SOURCES)
    list(FILTER generated INCLUDE REGEX "/\\.rcc/")
    if(generated)
        target_link_libraries(${target} PRIVATE kelpay_unit)
        if(KELPAY_QML_BYTECODE)
            set_property(TARGET ${target} PROPERTY QT_QMLCACHEGEN_ARGUMENTS --only-bytecode)
        endif()
        set_source_files_properties(${generated} PROPERTIES UNITY_GROUP qml)
        if(NOT CMAKE_UNITY_BUILD)
            set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
        endif()
    endif()
endfunction()
