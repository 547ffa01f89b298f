// Process entry: hands over to the start sequence, which never returns.
#include "shell/menus.h"

int main() {
  mainInit();
  return 0;
}
