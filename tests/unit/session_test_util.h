// Helpers shared by the session tests: guarded calls, a scratch directory, state release.
#ifndef TESTS_SESSION_TEST_UTIL_H
#define TESTS_SESSION_TEST_UTIL_H

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/formda.h"
#include "session/session.h"
#include "shell/shell.h"
#include "tests/unit/test_util.h"

namespace sessiontest {

using testutil::RunGuarded;

// Directory of the bundled session, next to this source.
inline const char* DataDir() {
  static char dir[1024];
  if (dir[0] == '\0') {
    strncpy(dir, __FILE__, sizeof dir - 32);
    char* slash = strrchr(dir, '/');
    if (slash != nullptr) slash[1] = '\0'; else dir[0] = '\0';
    strcat(dir, "../data/");
  }
  return dir;
}

inline long ReadFile(const char* path, char* buffer, long capacity) {
  FILE* fp = fopen(path, "rb");
  if (fp == nullptr) return -1;
  long n = (long)fread(buffer, 1, capacity - 1, fp);
  fclose(fp);
  buffer[n] = '\0';
  return n;
}

inline void WriteFile(const char* path, const char* text, long length) {
  FILE* fp = fopen(path, "wb");
  fwrite(text, 1, length, fp);
  fclose(fp);
}

// A fresh scratch directory used as volumeName ("/tmp/.../").
inline void MakeScratchVolume() {
  char pattern[] = "/tmp/kolven_session_XXXXXX";
  char* made = mkdtemp(pattern);
  snprintf(volumeName, sizeof volumeName, "%s/", made ? made : "/tmp");
}

// Releases everything a load may have allocated and empties the pointers, so
// that a load cut short by a jump leaves nothing unreachable behind.
inline void FreeSessionState() {
  auto f2 = [](auto& p, int rows) { if (p) free2D(p, rows); p = nullptr; };
  auto f1 = [](auto& p) { free1D(p); p = nullptr; };
  auto f3 = [](char***& p, int d1, int d2) { if (p) free3D(p, d1, d2); p = nullptr; };
  f2(chLabel, nch); f2(reLabel, ncsm); f3(grLabelP, MAX_PARTITIONS, ncsm);
  f3(grCstLabelP, MAX_PARTITIONS, tcst);
  f1(nchor); f1(weight); f1(weight_OTUs); f1(chtype); f1(traitGroups); f1(chrange);
  f1(onsta); f1(ncst); f1(rcst); f1(nGrPoly); f2(cadat, tcst); f2(csm_Float, tcst);
  f2(env, ncsm); f2(envLabel, nenv); f1(envVarType); f1(relSelect); f1(nGroupsP);
  f2(groupRelP, MAX_PARTITIONS); f2(partLabel, MAX_PARTITIONS); f1(nGroupsCstP);
  f1(whichLevelGrCstP); f2(groupCstP, MAX_PARTITIONS); f2(partCstLabel, MAX_PARTITIONS);
  f1(partition_OTUs); f2(spp, nSpp); f2(sppRelMap, nSpp); f2(cstSppMap, tcst);
  f2(cstTrack, nch); f2(phylogenyRese, tcst); f2(phylogenyData, tcst); f1(phylogenyVarType);
  groupRel = groupCst = nullptr;
  grLabel = grCstLabel = nullptr;
}

// Loads `file` (inside volumeName) as the session's formatted file.
inline int LoadGuarded(const char* file) {
  FreeSessionState();
  snprintf(whichFormda, sizeof whichFormda, "%s", file);
  return RunGuarded([] { OpenFormda(1); });
}

} // namespace sessiontest

#endif
