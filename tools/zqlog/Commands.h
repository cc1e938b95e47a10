#pragma once

namespace CLI {
class App;
}

// Each adds one command, which leaves its exit status in `exitCode` when it has run.
void addReplay(CLI::App& program, int& exitCode);
