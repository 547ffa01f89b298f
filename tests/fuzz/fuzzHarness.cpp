// Shared parts of the fuzz targets: scratch folder, recovery point, the
// tracking of open streams through the linker's wrapping of fopen, fclose and
// exit, and the release of the session arrays.
#include "tests/fuzz/fuzzHarness.h"

#include <unistd.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "TarnLib/tarnlibDim.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t n, size_t size);
extern "C" void __real_free(void* p);
extern "C" FILE* __real_fopen(const char* path, const char* mode);
extern "C" int __real_fclose(FILE* fp);
extern "C" [[noreturn]] void __real_exit(int status);

namespace {

const int maxOpen = 256;
FILE* openStreams[maxOpen]; // streams opened inside a guarded run
int nOpen = 0;
volatile int guarding = 0;  // 1 inside FuzzGuarded
jmp_buf exitEnv;            // where exit() inside a run comes back to
FILE* nullDevice = nullptr; // where the prompts go

// Memory of one run: a budget stands for a machine with little memory, so a
// huge count ends in the out-of-memory path rather than in hours of work.
const size_t runBudget = 48u << 20;
size_t spent = 0;
bool sweepAfterRun = false;
std::unordered_set<void*>* blocks = nullptr; // blocks of the run not yet freed

void* Tracked(void* p, size_t bytes) {
  if (p != nullptr && guarding && sweepAfterRun) blocks->insert(p);
  (void)bytes;
  return p;
}

bool OverBudget(size_t bytes) {
  if (!guarding) return false;
  spent += bytes + 32;
  return spent > runBudget;
}

void Forget(FILE* fp) {
  for (int k = 0; k < nOpen; k++)
    if (openStreams[k] == fp) {
      openStreams[k] = openStreams[--nOpen];
      return;
    }
}

} // namespace

extern "C" void* __wrap_malloc(size_t size) {
  if (OverBudget(size)) return nullptr;
  return Tracked(__real_malloc(size), size);
}

extern "C" void* __wrap_calloc(size_t n, size_t size) {
  if (size != 0 && n > ((size_t)-1) / size) return nullptr;
  if (OverBudget(n * size)) return nullptr;
  return Tracked(__real_calloc(n, size), n * size);
}

extern "C" void __wrap_free(void* p) {
  if (p != nullptr && blocks != nullptr) blocks->erase(p);
  __real_free(p);
}

extern "C" FILE* __wrap_fopen(const char* path, const char* mode) {
  FILE* fp = __real_fopen(path, mode);
  if (fp != nullptr && guarding && nOpen < maxOpen) openStreams[nOpen++] = fp;
  return fp;
}

extern "C" int __wrap_fclose(FILE* fp) {
  Forget(fp);
  return __real_fclose(fp);
}

// exit() inside a run is one more way of ending it: back to the harness.
extern "C" [[noreturn]] void __wrap_exit(int status) {
  if (guarding) longjmp(exitEnv, 1);
  __real_exit(status);
}

void FuzzSetUp() {
  char dir[] = "/tmp/kolvenFuzzXXXXXX";
  if (mkdtemp(dir) == nullptr || chdir(dir) != 0) abort();
  if (freopen("/dev/null", "r", stdin) == nullptr) abort();
  blocks = new std::unordered_set<void*>();
  nullDevice = __real_fopen("/dev/null", "w");
  if (nullDevice == nullptr) abort();
  FuzzResetGlobals();
}

void FuzzResetGlobals() {
  InitGlobals();
  out = nullDevice;
}

void FuzzStage(const char* name, const uint8_t* data, size_t size) {
  FILE* fp = __real_fopen(name, "wb");
  if (fp == nullptr) abort();
  if (size > 0 && fwrite(data, 1, size, fp) != size) abort();
  __real_fclose(fp);
}

int FuzzGuarded(void (*body)()) {
  nOpen = 0;
  spent = 0;
  volatile int code = 0;
  if (setjmp(exitEnv) != 0) {
    code = -1;  // exit() inside the run: the program would have ended here
  } else {
    code = setjmp(jmp_env);
    if (code == 0) {
      jmpLive = 1;
      guarding = 1;
      body();
    }
  }
  guarding = 0;
  jmpLive = 0;
  while (nOpen > 0) __real_fclose(openStreams[--nOpen]);
  return code;
}

void FuzzSweepAfterRun(bool on) { sweepAfterRun = on; }

void FuzzSweep() {
  for (void* p : *blocks) __real_free(p);
  blocks->clear();
}

void FuzzClearSession() {
  nch = tcst = ncsm = nenv = nSpp = nClados = 0;
  csm_Float = cadat = env = phylogenyRese = phylogenyData = nullptr;
  chLabel = reLabel = envLabel = spp = sppRelMap = cstSppMap = nullptr;
  partLabel = partCstLabel = nullptr;
  grLabelP = grCstLabelP = nullptr;
  groupRelP = groupCstP = cstTrack = nullptr;
  chtype = onsta = ncst = traitGroups = envVarType = phylogenyVarType = nullptr;
  nchor = rcst = nGrPoly = weight_OTUs = relSelect = partition_OTUs = nullptr;
  nGroupsP = nGroupsCstP = whichLevelGrCstP = nullptr;
  chrange = weight = nullptr;
  hasPhylogeny = 0;
}

void FuzzReleaseLoadedSession() {
  free2D(chLabel, nch);
  free1D(chtype);
  free1D(chrange);
  free1D(onsta);
  free2D(reLabel, ncsm);
  free1D(nchor);
  free1D(rcst);
  free1D(nGrPoly);
  free1D(weight);
  free1D(weight_OTUs);
  free1D(relSelect);
  free1D(partition_OTUs);
  free2D(cstTrack, nch);
  free2D(partLabel, MAX_PARTITIONS);
  free1D(nGroupsP);
  free2D(groupRelP, MAX_PARTITIONS);
  free3D(grLabelP, MAX_PARTITIONS, ncsm);
  free2D(partCstLabel, MAX_PARTITIONS);
  free1D(nGroupsCstP);
  free2D(groupCstP, MAX_PARTITIONS);
  free3D(grCstLabelP, MAX_PARTITIONS, tcst);
  free1D(whichLevelGrCstP);
  free1D(ncst);
  free2D(cadat, tcst);
  free2D(csm_Float, tcst);
  free2D(env, ncsm);
  free2D(envLabel, nenv);
  free1D(envVarType);
  free2D(spp, nSpp);
  free2D(sppRelMap, nSpp);
  free2D(cstSppMap, tcst);
  free2D(phylogenyRese, tcst);
  free1D(phylogenyVarType);
  free2D(phylogenyData, tcst);
  free1D(traitGroups);
  FuzzClearSession();
}
