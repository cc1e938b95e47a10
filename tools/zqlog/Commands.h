#pragma once

namespace CLI {
class App;
}

// Each adds one command, which leaves its exit status in `exitCode` when it has run.
void addDoctor(CLI::App& program, int& exitCode);
void addInspect(CLI::App& program, int& exitCode);
void addRecognize(CLI::App& program, int& exitCode);
void addRecord(CLI::App& program, int& exitCode);
void addReplay(CLI::App& program, int& exitCode);
