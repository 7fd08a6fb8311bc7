// The libraries below the importers, each called for no more than what the importer asks of it.
#pragma once

namespace quarry::bare {

void listArchive(const char* path);
void readCompiledHelp(const char* path);
void readDjVu(const char* path);
void readFont(const char* path);
void readMail(const char* path);
void readPackage(const char* path);
void readPicture(const char* path);
void readTags(const char* path);
void readText(const char* path);
void openMovie(const char* path);

}  // namespace quarry::bare
