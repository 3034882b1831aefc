# v2xshm_add_net_test(name sources...): like v2xshm_add_test, but the test
# also gets a network namespace of its own with only loopback up: fixed
# ports (the log collector's 11101) never collide with the machine's. Its
# code runs threads, so it is labelled for the thread sanitizer run.
include_guard(GLOBAL)
find_program(V2XSHM_IP_PROGRAM ip PATHS /usr/sbin /sbin REQUIRED)

function(v2xshm_add_net_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE v2xshm_test_support v2xshm_warnings)
    add_test(NAME ${name}
             COMMAND ${UNSHARE_PROGRAM} --ipc --net --map-root-user
                     sh ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/WithLoopback.sh ${V2XSHM_IP_PROGRAM}
                     ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 LABELS threads)
endfunction()
