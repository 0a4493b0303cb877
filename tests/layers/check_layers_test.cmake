# The layer check on a copy of a small fixture tree: as it stands the tree passes; each kind of
# fault, added alone, fails the check with a message naming the file.
#   cmake -DCHECKER=cmake/check_layers.cmake -DFIXTURE=tests/layers/fixture -DWORK=<folder> -P ...
cmake_minimum_required(VERSION 3.25)
foreach(v CHECKER FIXTURE WORK)
    if(NOT ${v})
        message(FATAL_ERROR "falta -D${v}")
    endif()
endforeach()

function(fresh_copy)
    file(REMOVE_RECURSE "${WORK}")
    file(COPY "${FIXTURE}/" DESTINATION "${WORK}")
endfunction()

function(add_line file line)
    file(APPEND "${WORK}/${file}" "${line}\n")
endfunction()

# Runs the check; `expected` is "" when it must pass, else text its failure must show.
function(expect case expected)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${WORK} -DLAYERS=${WORK}/layers.cmake
                -DSTAMP=${WORK}/stamp -P ${CHECKER}
        RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    set(out "${out}${err}")
    if(expected STREQUAL "")
        if(NOT rc EQUAL 0 OR NOT EXISTS "${WORK}/stamp")
            message(FATAL_ERROR "${case}: la comprobación debía pasar:\n${out}")
        endif()
    else()
        if(rc EQUAL 0 OR EXISTS "${WORK}/stamp")
            message(FATAL_ERROR "${case}: la comprobación debía fallar:\n${out}")
        endif()
        string(FIND "${out}" "${expected}" at)
        if(at EQUAL -1)
            message(FATAL_ERROR "${case}: falta \"${expected}\" en:\n${out}")
        endif()
    endif()
endfunction()

fresh_copy()
expect("árbol correcto" "")

fresh_copy()
add_line(src/low/base.h "#include \"high/app.h\"")
expect("capa baja que incluye una alta"
    "src/low/base.h: incluye \"high/app.h\" de la capa high (la capa low solo puede incluir low)")

fresh_copy()
add_line(src/low/base.cpp "#include \"../high/gui/window.h\"")
expect("inclusión relativa hacia arriba" "src/low/base.cpp: incluye \"../high/gui/window.h\" de la capa gui")

fresh_copy()
add_line(tools/main.cpp "#include \"high/gui/window.h\"")
expect("herramienta que incluye una capa no declarada" "tools/main.cpp: incluye \"high/gui/window.h\" de la capa gui")

fresh_copy()
add_line(src/high/app.cpp "#include <QString>")
expect("Qt fuera de su capa" "src/high/app.cpp: incluye <QString>")

fresh_copy()
file(WRITE "${WORK}/src/stray/loose.h" "#pragma once\n")
expect("carpeta sin capa" "src/stray/loose.h: su carpeta no pertenece a ninguna capa")

file(REMOVE_RECURSE "${WORK}")
