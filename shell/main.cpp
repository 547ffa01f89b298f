// Process entry: hands over to the start sequence, which never returns.
void mainInit();

int main() {
  mainInit();
  return 0;
}
