# Installs the built project into a temporary prefix, then configures, builds and runs a small
# consumer project that finds it with find_package(Tirrel).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
set(cfg ${CONFIG})
if(NOT cfg)
    set(cfg RelWithDebInfo)
endif()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --config ${cfg})
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE} -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=${cfg})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
# The consumer must run from the install prefix, not from the build tree.
set(ENV{LD_LIBRARY_PATH} "${prefix}/lib:${prefix}/lib64:$ENV{LD_LIBRARY_PATH}")
run(${WORK_DIR}/build/consumer)
if(NOT last_output MATCHES "consumer ok")
    message(FATAL_ERROR "consumer printed: ${last_output}")
endif()
message(STATUS "consumer ok")
