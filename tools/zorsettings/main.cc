#include <iostream>
#include <string>
#include <vector>

#include "tools/zorsettings/zorsettings.h"

int main(int argc, char** argv) {
    return RunZorSettings(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
