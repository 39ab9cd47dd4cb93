# Compiles the consumer with the flags pkg-config gives for the installed
# package, then runs it. Inputs: PKG_CONFIG PREFIX LIBDIR CXX SOURCE WORK.
set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs grundel
                OUTPUT_VARIABLE flags RESULT_VARIABLE rc OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know grundel")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${CXX} -std=gnu++17 ${SOURCE} ${flags} -o ${WORK}/consumer
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the consumer does not compile with the pkg-config flags")
endif()
set(ENV{LD_LIBRARY_PATH} "${PREFIX}/${LIBDIR}")
execute_process(COMMAND ${WORK}/consumer RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the consumer built with pkg-config failed")
endif()
