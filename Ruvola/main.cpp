#include "Ruvola/AppHost.hpp"

int main(int argc, char** argv) {
    return ruvola::AppHost::run(argc, argv);
}
