# Installs the kit from the build tree into a private prefix, then builds and runs a tiny host
# that finds it with find_package(Vorna), the way a host's own build would, the same hosts built
# with pkg-config alone, and the Qt host that the README shows.
cmake_minimum_required(VERSION 3.25)

# The Qt host runs offscreen, with the kit's stored settings kept in the work folder; once as a
# host should start the kit, once started before its QApplication and again after it (still one
# button, one log line each).
function(run_qt_host executable how)
    foreach(arguments IN ITEMS "" "--misuse")
        execute_process(COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
                                XDG_DATA_HOME=${WORK_DIR}/data ${executable} ${arguments}
                        RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
        if(NOT rc EQUAL 0 OR NOT out MATCHES "qt consumer ok")
            message(FATAL_ERROR "the Qt consumer ${how} did not run (${arguments}): ${rc}\n"
                                "${out}\n${err}")
        endif()
    endforeach()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "install failed: ${rc}")
endif()
set(consumer_flags "")
if(SANITIZE)
    # A kit built with sanitizers needs their runtimes in the host too.
    set(consumer_flags -DCMAKE_CXX_FLAGS=-fsanitize=${SANITIZE}
                       -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=${SANITIZE})
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/install/consumer -B ${WORK_DIR}/build
                        -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix ${consumer_flags}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "configuring the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "building the consumer failed: ${rc}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/vorna_consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "consumer ok")
    message(FATAL_ERROR "the consumer did not run: ${rc} ${out}")
endif()
if(BACKEND)
    execute_process(COMMAND sh ${SOURCE_DIR}/tests/install/RunHeadlessHost.sh ${BACKEND}
                            ${WORK_DIR}/build/vorna_headless_host ${WORK_DIR}/headless
                    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    message(STATUS "${out}")
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "the installed headless host failed: ${rc}\n${out}\n${err}")
    endif()
endif()
if(EXISTS ${WORK_DIR}/build/vorna_qt_consumer)
    run_qt_host(${WORK_DIR}/build/vorna_qt_consumer "built with CMake")
elseif(EXPECT_QT)
    message(FATAL_ERROR "the kit was built with its Qt layer, but the consumer found no Vorna::vorna_qt")
endif()

# The same hosts, built by one compiler command line each with the flags that pkg-config gives
# for the installed kit, as a build without CMake finds it. The .pc files locate the prefix from
# where they lie, so the kit installed here, away from its configured prefix, must be found here.
set(pc_dir ${WORK_DIR}/prefix/${LIBDIR}/pkgconfig)
if(DEFINED ENV{PKG_CONFIG_PATH} AND NOT "$ENV{PKG_CONFIG_PATH}" STREQUAL "")
    set(ENV{PKG_CONFIG_PATH} "${pc_dir}:$ENV{PKG_CONFIG_PATH}")
else()
    set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
endif()
set(ENV{PKG_CONFIG} "${PKG_CONFIG}")
set(ENV{CXX} "${CXX}")
execute_process(COMMAND ${PKG_CONFIG} --variable=includedir vorna
                OUTPUT_VARIABLE includedir OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
file(REAL_PATH "${includedir}" includedir)
file(REAL_PATH "${WORK_DIR}/prefix/${INCLUDEDIR}" expected)
if(NOT rc EQUAL 0 OR NOT includedir STREQUAL expected)
    message(FATAL_ERROR "vorna.pc does not point into the prefix it was installed to: "
                        "${includedir} (${rc}), not ${expected}")
endif()
set(pc_flags "")
if(SANITIZE)
    set(pc_flags -fsanitize=${SANITIZE})
endif()
set(pc_build ${WORK_DIR}/pkgconfig-build)
file(MAKE_DIRECTORY ${pc_build})
set(build_host ${SOURCE_DIR}/tests/install/pkgconfig/build-host.sh)
execute_process(COMMAND ${build_host} vorna ${SOURCE_DIR}/tests/install/consumer/main.cpp
                        ${pc_build}/vorna_consumer ${pc_flags}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "building the consumer with pkg-config failed: ${rc}")
endif()
execute_process(COMMAND ${pc_build}/vorna_consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "consumer ok")
    message(FATAL_ERROR "the consumer built with pkg-config did not run: ${rc} ${out}")
endif()
if(EXISTS ${pc_dir}/vorna-qt.pc)
    execute_process(COMMAND ${build_host} vorna-qt ${SOURCE_DIR}/tests/install/consumer/qt_main.cpp
                            ${pc_build}/vorna_qt_consumer ${pc_flags}
                    RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "building the Qt consumer with pkg-config failed: ${rc}")
    endif()
    run_qt_host(${pc_build}/vorna_qt_consumer "built with pkg-config")
elseif(EXPECT_QT_PKG_CONFIG)
    message(FATAL_ERROR "the kit was built with its Qt layer and Qt's pkg-config modules, "
                        "but installed no vorna-qt.pc")
endif()

if(NOT EXPECT_QT)
    return()
endif()

# The Qt host of the README, made of its code blocks and nothing else: each block that follows a
# "<!-- host file: NAME -->" line becomes the file NAME. It is built against the installed kit,
# installed, and run offscreen through a symbolic link, the way a packaged program often is; it
# has to find its Info.plist beside the real executable and reach the backend named by the
# environment (a closed port: the authorization fails, after the kit has said what it read).
file(READ ${SOURCE_DIR}/README.md readme)
set(host_dir ${WORK_DIR}/readme-host)
set(marker "<!-- host file: ")
string(LENGTH "${marker}" marker_length)
set(names "")
while(TRUE)
    string(FIND "${readme}" "${marker}" at)
    if(at EQUAL -1)
        break()
    endif()
    math(EXPR at "${at} + ${marker_length}")
    string(SUBSTRING "${readme}" ${at} -1 readme)
    string(FIND "${readme}" " -->" end)
    string(SUBSTRING "${readme}" 0 ${end} name)
    # From the line after the opening fence to the closing fence.
    string(FIND "${readme}" "\n```" open)
    math(EXPR open "${open} + 1")
    string(SUBSTRING "${readme}" ${open} -1 readme)
    string(FIND "${readme}" "\n" eol)
    math(EXPR eol "${eol} + 1")
    string(SUBSTRING "${readme}" ${eol} -1 readme)
    string(FIND "${readme}" "\n```" close)
    math(EXPR close "${close} + 1")
    string(SUBSTRING "${readme}" 0 ${close} content)
    file(WRITE ${host_dir}/${name} "${content}")
    list(APPEND names ${name})
    string(SUBSTRING "${readme}" ${close} -1 readme)
endwhile()
list(SORT names)
if(NOT names STREQUAL "CMakeLists.txt;Info.plist;main.cpp")
    message(FATAL_ERROR "the README's host is not its three files: ${names}")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${host_dir} -B ${WORK_DIR}/readme-host-build
                        -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
                        -DCMAKE_INSTALL_PREFIX=${WORK_DIR}/readme-host-prefix ${consumer_flags}
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "configuring the README's host failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/readme-host-build RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "building the README's host failed: ${rc}")
endif()
if(NOT EXISTS ${WORK_DIR}/readme-host-build/Info.plist)
    message(FATAL_ERROR "the README's host was built without its Info.plist beside it")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --install ${WORK_DIR}/readme-host-build
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "installing the README's host failed: ${rc}")
endif()
set(installed ${WORK_DIR}/readme-host-prefix/libexec/my_host)
if(NOT EXISTS ${installed}/my_host OR NOT EXISTS ${installed}/Info.plist)
    message(FATAL_ERROR "the README's host was not installed beside its Info.plist in ${installed}")
endif()
file(MAKE_DIRECTORY ${WORK_DIR}/bin)
file(CREATE_LINK ${installed}/my_host ${WORK_DIR}/bin/my_host SYMBOLIC)

set(log ${WORK_DIR}/readme-host.log)
execute_process(COMMAND ${SOURCE_DIR}/tests/install/RunUntilLine.sh 120 ${log}
                        "API Secret Key: my-host-secret"
                        env QT_QPA_PLATFORM=offscreen
                        XDG_DATA_HOME=${WORK_DIR}/data VORNA_API_URL=http://127.0.0.1:9
                        ${WORK_DIR}/bin/my_host
                RESULT_VARIABLE rc)
file(READ ${log} out)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "the README's host did not start and authorize: ${rc}\n${out}")
endif()
foreach(line "vorna: VRNInfoPlist - The backend URL comes from the environment (VORNA_API_URL): http://127.0.0.1:9/"
             "vorna: API Client Key: my-host-client")
    string(FIND "${out}" "${line}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "the README's host did not log \"${line}\":\n${out}")
    endif()
endforeach()
if(out MATCHES "No Info.plist|malformed|has no \"")
    message(FATAL_ERROR "the README's host did not read its Info.plist:\n${out}")
endif()
