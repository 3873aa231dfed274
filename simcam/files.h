// The files that the simulated camera's firmware would have installed: the capability definition file and the three
// settings files, shaped by the model's capability keys (channels, streams per channel, codecs, motion windows), and
// the PTZ daemon's pid file.
#pragma once

#include "model.h"

// By path; a file without a text is to be removed.
using CameraFiles = std::map<std::string, std::optional<std::string>>;

// Composes the files, with what the model says about them. Returns an empty text, or what is wrong when the model gives
// a value for an element that none of the files has.
std::string Compose_CameraFiles(const Model &model, CameraFiles *pFiles);

// Writes or removes each of them, and takes the right to write those paths away. Returns false after a message on
// standard error, or when such a path is not there.
bool Lay_Out_CameraFiles(const CameraFiles &files, const std::set<std::string> &readOnly);

// Writes the capability definition and settings files into one folder, as a seed for a camera's file system.
bool Seed_CameraFiles(const CameraFiles &files, const std::string &folder);

// The pid file goes away with the daemon.
void Remove_PidFile();
