// The _grundel extension: binds the library for the grundel package. It
// holds no library code of its own; grundel/iff.py re-exports what it binds.
#include "bindings.h"

PYBIND11_MODULE(_grundel, module) {
    module.doc() = "Bindings of the Grundel library for the grundel package (use grundel.iff and grundel.data).";
    grundel::python::bindData(module);
    grundel::python::bindNames(module);
    grundel::python::bindWalk(module);
    grundel::python::bindWriter(module);
}
