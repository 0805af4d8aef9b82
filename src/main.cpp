#include "driver/run.h"

int main(int argc, char** argv) {
    return tavrel::tavrel_run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), tavrel::system_host());
}
