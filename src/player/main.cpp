#include "player/commands/Application.h"

int main(int argc, char** argv)
{
    return Zelvan::play::runApplication(argc, argv);
}
