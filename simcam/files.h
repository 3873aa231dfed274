/// The files that the simulated camera's firmware would have installed: the capability definition file and the three
/// settings files, shaped by the model's capability keys (channels, streams per channel, codecs, motion windows), and
/// the PTZ daemon's pid file.
#pragma once

#include "model.h"

/// By path; a file without a text is to be removed.
using CameraFiles = std::map<std::string, std::optional<std::string>>;

/// The values of settings files, by the path that a "side" line of the model has for them.
using SideValues = std::map<std::string, std::string>;

// These functions return an empty text, or what is wrong.

/// Composes the files, with what the model says about them and before that the values that are kept, which are taken
/// out of their map. It is wrong when the model gives a value for an element that none of the files has.
std::string Compose_CameraFiles(const Model &tModel, SideValues *ptKept, CameraFiles *ptFiles);

/// Lays out the files of a camera that starts: writes or removes each, and takes the right to write some paths away.
std::string LayOut_CameraFiles(const Model &tModel);

/// The same for a model that has changed. The values in the settings files stay, but for those that are new (null: all
/// are), and a file that the change does not touch is not written.
std::string Update_CameraFiles(const Model &tBefore, const Model &tAfter, const SideValues *ptNewSides);

/// Writes the capability definition and settings files into one folder, as a seed for a camera's file system. Settings
/// that are there keep their values and get what is missing; a capability definition file that is there stays.
std::string Seed_CameraFiles(const Model &tModel, const std::string &strFolder);

/// The pid file goes away with the daemon.
void Remove_PidFile();
