// Compiles the umbrella header alone, in the GNU dialect.
#include <grundel/grundel.h>

int main() {
    Tstring s("umbrella");
    return s.length() == 8 ? 0 : 1;
}
