# The layers are libraries, and each library compiles against a view of the source tree that
# holds only the folders it may use: a folder of links, one per allowed source folder, is its
# whole include path. An include of a folder outside the view does not compile. The portable
# layers also get a folder of stand-ins for every X11, XCB, D-Bus and Qt GUI, widget and
# network header, each an #error, searched before the system's own folders.

set(QUILLET_SOURCE_ROOT ${PROJECT_SOURCE_DIR}/src)
set(QUILLET_VIEWS ${CMAKE_BINARY_DIR}/layer-views)

# The stand-ins, written once per build folder.
function(quillet_write_forbidden_headers out)
    set(stamp ${out}/.complete)
    if(EXISTS ${stamp})
        return()
    endif()
    get_target_property(qt_core_includes Qt6::Core INTERFACE_INCLUDE_DIRECTORIES)
    set(qt_root "")
    foreach(dir ${qt_core_includes})
        if(EXISTS ${dir}/QtCore AND IS_DIRECTORY ${dir}/QtCore)
            set(qt_root ${dir})
        endif()
    endforeach()
    set(forbidden_dirs
        "/usr/include|X11" "/usr/include|xcb" "/usr/include|dbus"
        "${qt_root}|QtGui" "${qt_root}|QtWidgets" "${qt_root}|QtDBus" "${qt_root}|QtNetwork"
        "${qt_root}|QtTextToSpeech" "${qt_root}|QtSvg")
    foreach(entry ${forbidden_dirs})
        string(REPLACE "|" ";" parts "${entry}")
        list(GET parts 0 base)
        list(GET parts 1 folder)
        if(NOT base OR NOT IS_DIRECTORY ${base}/${folder})
            continue()
        endif()
        file(GLOB_RECURSE headers RELATIVE ${base} ${base}/${folder}/*)
        foreach(header ${headers})
            file(WRITE ${out}/${header}
                "#error \"${header}: the portable layers use no OS, desktop or network header\"\n")
        endforeach()
    endforeach()
    # The network and D-Bus halves of QCoro.
    foreach(header qcoro/qcoronetwork.h qcoro/qcoronetworkreply.h qcoro/qcorodbus.h
                   QCoro/QCoroNetwork QCoro/QCoroNetworkReply QCoro/QCoroDBus)
        file(WRITE ${out}/${header}
            "#error \"${header}: the portable layers use no OS, desktop or network header\"\n")
    endforeach()
    file(WRITE ${stamp} "")
endfunction()

# quillet_layer_view(<target> [PORTABLE] SEES <folder>...)
# A folder "platform" means the platform's interfaces only (src/platform/*.h); a deeper
# folder (platform/linux/desktop) is seen whole.
function(quillet_layer_view target)
    cmake_parse_arguments(arg "PORTABLE" "" "SEES" ${ARGN})
    set(view ${QUILLET_VIEWS}/${target})
    file(REMOVE_RECURSE ${view})
    file(MAKE_DIRECTORY ${view})
    foreach(folder ${arg_SEES})
        if(folder STREQUAL "platform")
            file(MAKE_DIRECTORY ${view}/platform)
            file(GLOB interfaces CONFIGURE_DEPENDS ${QUILLET_SOURCE_ROOT}/platform/*.h)
            foreach(header ${interfaces})
                get_filename_component(name ${header} NAME)
                file(CREATE_LINK ${header} ${view}/platform/${name} SYMBOLIC)
            endforeach()
        elseif(IS_DIRECTORY ${QUILLET_SOURCE_ROOT}/${folder})
            get_filename_component(parent ${view}/${folder} DIRECTORY)
            file(MAKE_DIRECTORY ${parent})
            file(CREATE_LINK ${QUILLET_SOURCE_ROOT}/${folder} ${view}/${folder} SYMBOLIC)
        endif()
    endforeach()
    target_include_directories(${target} PRIVATE ${view})
    if(arg_PORTABLE)
        set(forbidden ${QUILLET_VIEWS}/forbidden-headers)
        quillet_write_forbidden_headers(${forbidden})
        target_include_directories(${target} BEFORE PRIVATE ${forbidden})
    endif()
    set_property(TARGET ${target} PROPERTY QUILLET_VIEW ${view})
endfunction()

# A test that compiles <include> the way <target> compiles its own files and passes only
# when that fails; a control compiles an allowed header the same way, so a broken probe
# cannot pass for a fence.
function(quillet_fence_test target include expect)
    string(MAKE_C_IDENTIFIER "${target}_${include}" id)
    set(probe ${CMAKE_BINARY_DIR}/fence-probes/${id}.cpp)
    file(WRITE ${probe} "#include ${include}\nint main() { return 0; }\n")
    add_library(fence_${id} OBJECT EXCLUDE_FROM_ALL ${probe})
    set_target_properties(fence_${id} PROPERTIES AUTOMOC OFF)
    target_include_directories(fence_${id} PRIVATE
        $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    target_compile_definitions(fence_${id} PRIVATE
        $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
    target_link_libraries(fence_${id} PRIVATE $<TARGET_PROPERTY:${target},LINK_LIBRARIES>)
    add_test(NAME LayerFence.${id}
        COMMAND ${CMAKE_COMMAND} --build ${CMAKE_BINARY_DIR} --target fence_${id})
    # One build at a time in the build folder.
    set_tests_properties(LayerFence.${id} PROPERTIES LABELS unit RUN_SERIAL TRUE)
    if(expect STREQUAL "FAILS")
        set_tests_properties(LayerFence.${id} PROPERTIES WILL_FAIL TRUE)
    endif()
endfunction()
