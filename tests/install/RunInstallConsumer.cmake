# Installs the kit from the build tree into a private prefix, then builds and runs a tiny host
# that finds it with find_package(Vorna), the way a host's own build would.
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
if(EXISTS ${WORK_DIR}/build/vorna_qt_consumer)
    # The Qt host runs offscreen, with the kit's stored settings kept in the work folder.
    execute_process(COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
                            XDG_DATA_HOME=${WORK_DIR}/data ${WORK_DIR}/build/vorna_qt_consumer
                    RESULT_VARIABLE rc OUTPUT_VARIABLE out)
    if(NOT rc EQUAL 0 OR NOT out MATCHES "qt consumer ok")
        message(FATAL_ERROR "the Qt consumer did not run: ${rc} ${out}")
    endif()
elseif(EXPECT_QT)
    message(FATAL_ERROR "the kit was built with its Qt layer, but the consumer found no Vorna::vorna_qt")
endif()
