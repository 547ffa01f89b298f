// The shared trait subset search: enumeration in order, evaluation of chunks of subsets on threads, the serial merge (progress, intermediate lines, bests, ranking table) and the common parts of the result file.
#include "ranking/rankSearch.h"

#include <cmath>
#include <cstring>
#include <ctime>

#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibStats.h"
#include "ranking/ranking.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

// Subsets evaluated between two merges: large enough that the threads meet
// rarely, small enough that the progress line and the file keep moving.
static const int kChunk = 2048;

// ---- Counting ----

long long RankCombinations(int n, int k) { return k < 0 || k > n ? 0 : CombinationCount(n, k); }

// ---- Ranking table ----

void RankTableAlloc(RankTable* t, int rows, int nTraits) {
  int w = nTraits > 0 ? nTraits : 1;
  t->rows = rows;
  t->nTraits = nTraits;
  t->value = dim1Double(rows);
  t->size = dim1Dint(rows);
  t->traits = dim2Dint(rows, w);
  t->value2 = dim1Double(rows);
  t->size2 = dim1Dint(rows);
  t->traits2 = (int**)dim1D(sizeof(int*), rows);
  t->order = dim1Dint(rows);
}

void RankTableFree(RankTable* t) {
  free1D(t->value);
  free1D(t->size);
  free2D(t->traits, t->rows);
  free1D(t->value2);
  free1D(t->size2);
  free1D(t->traits2);
  free1D(t->order);
}

bool RankTableOffer(RankTable* t, double value, int k, const int* list, bool absolute) {
  bool beats = absolute ? fabs(value) > fabs(t->value[0]) : value > t->value[0];
  if (!beats) return false;
  t->value[0] = value;
  t->size[0] = k;
  for (int j = 0; j < k; j++) t->traits[0][j] = list[j];
  if (absolute)
    RankVectorAbs(t->rows, t->value, t->order);
  else
    RankVector(t->rows, t->value, t->order);
  // The sorted rows go to the second copy and the copies change places; the
  // trait lists, one row each, move by their pointers.
  for (int r = 0; r < t->rows; r++) {
    int from = t->order[r] - 1;
    t->value2[r] = t->value[from];
    t->size2[r] = t->size[from];
    t->traits2[r] = t->traits[from];
  }
  for (int r = 0; r < t->rows; r++) t->traits[r] = t->traits2[r];
  swapArray1D(&t->value, &t->value2);
  swapArray1D(&t->size, &t->size2);
  return true;
}

void RankBestAlloc(RankBest* b, int n, double start) {
  b->value = dim1Double(n + 1);
  b->traits = dim2Dint(n + 1, n > 0 ? n : 1);
  b->found = (bool*)dim1D(sizeof(bool), n + 1);
  b->groups = dim1Dint(n + 1);
  for (int k = 0; k <= n; k++) b->value[k] = start;
}

void RankBestFree(RankBest* b, int n) {
  free1D(b->value);
  free2D(b->traits, n + 1);
  free1D(b->found);
  free1D(b->groups);
}

// ---- Enumeration ----

void RankEnumerationAlloc(RankEnumeration* e, int n) {
  int w = n > 0 ? n : 1;
  e->n = n;
  e->k = 0;
  e->m = 0;
  e->i = 0;
  e->list = dim1Dint(w);
  e->onstaCopy = dim1Dint(w);
  e->chtypeCopy = dim1Dint(w);
  e->chrangeCopy = dim1Double(w);
  e->weightCopy = dim1Double(w);
}

void RankEnumerationFree(RankEnumeration* e) {
  free1D(e->list);
  free1D(e->onstaCopy);
  free1D(e->chtypeCopy);
  free1D(e->chrangeCopy);
  free1D(e->weightCopy);
}

void RankEnumerationStart(RankEnumeration* e, int k) {
  e->k = k;
  e->m = RankCombinations(e->n, k);
  e->i = 0;
  for (int t = 0; t < e->n; t++) e->list[t] = t + 1;
}

void ReorderVectors(int n, int* list, int* onstaCopy, int* chtypeCopy, double* chrangeCopy,
                    double* weightCopy) {
  // Each subset starts from the session's order, so the copies are filled
  // from the session's arrays directly: no scratch copy is needed.
  for (int t = 0; t < n; t++) {
    int from = list[t] - 1;
    onstaCopy[t] = onsta[from];
    chtypeCopy[t] = chtype[from];
    chrangeCopy[t] = chrange[from];
    weightCopy[t] = weight[from];
  }
}

int RankEnumerationNext(RankEnumeration* e, RankSubset* subsets, int capacity) {
  int count = 0;
  int n = e->n, k = e->k;
  while (count < capacity && e->i < e->m) {
    RankSubset* s = &subsets[count++];
    PermuteArray(n, k, e->list, e->i == 0);
    e->i++;
    ReorderVectors(n, e->list, e->onstaCopy, e->chtypeCopy, e->chrangeCopy, e->weightCopy);
    int kept = 0;
    for (int t = 0; t < n; t++) s->mask[t] = 0;
    for (int j = 0; j < k; j++)
      if (e->weightCopy[j] > 0) {
        s->mask[e->list[j] - 1] = 1;
        kept++;
      }
    memcpy(s->list, e->list, sizeof(int) * (size_t)n);
    s->k = k;
    s->skipped = kept < k;
    s->firstType = e->chtypeCopy[0];
    s->firstStates = e->onstaCopy[0];
  }
  return count;
}

// ---- The search ----

int RankThreads(bool companion) {
  if (companion) return 1;
  int n = nProcessors > 0 ? nProcessors : omp_get_num_procs();
  return n > 0 ? n : 1;
}

// Evaluates a chunk on the calling thread, in enumeration order (the order
// of the companion file).
static void EvaluateSerially(RankMember* m, RankSubset* subsets, RankResult* results, int count, FILE* companion) {
  for (int s = 0; s < count; s++) {
    results[s].evaluated = false;
    if (!subsets[s].skipped) m->evaluate(m->context, 0, &subsets[s], &results[s], companion);
  }
}

static bool Better(double value, double than, bool absolute) {
  return absolute ? fabs(value) > fabs(than) : value > than;
}

// The serial part of one subset: progress, its line, the bests, the table.
static void MergeOne(RankMember* m, FILE* f, const RankSubset* s, const RankResult* r, RankTable* table,
                     RankBest* best) {
  if (s->skipped || !r->evaluated) return;
  int k = s->k;
  if (printRankIntermedResults == 'y') {
    m->printLine(f, r);
    RankPrintLabels(f, k, s->list);
    if (m->lineEnd != nullptr) m->lineEnd(m->context, f, r);
    fprintf(f, "\n");
  }
  double typesBest = m->startValue;
  if (Better(r->value, typesBest, m->absolute)) typesBest = r->value;
  if (Better(typesBest, best->value[k], m->absolute)) {
    best->value[k] = typesBest;
    memcpy(best->traits[k], s->list, sizeof(int) * (size_t)k);
    best->found[k] = true;
    best->groups[k] = r->groups;
  }
  RankTableOffer(table, typesBest, k, s->list, m->absolute);
  if (m->merge != nullptr) m->merge(m->context, s, r);
}

static void PrintBestOfSize(FILE* f, const RankMember* m, const RankBest* best, int k, bool heading) {
  if (heading && m->bestLine != nullptr)
    fprintf(f, m->bestLine, k, sDigits + 6, sDigits, best->value[k], best->groups[k]);
  else if (heading)
    fprintf(f, "Ranking criterion value and optimal subset with %d traits: \t%-*.*g\t", k, sDigits + 6, sDigits,
            best->value[k]);
  else
    fprintf(f, "%-13.*g\t", sDigits, best->value[k]);
  if (m->noneForZero && best->value[k] == 0.0) {
    fprintf(f, "none\n");
    return;
  }
  if (best->found[k]) RankPrintLabels(f, k, best->traits[k]);
  fprintf(f, "\n");
}

// Subsets handed out together, with their results.
struct RankChunk {
  int count;
  RankSubset* subsets;  // [kChunk]
  RankResult* results;  // [kChunk]
  int** lists;          // [kChunk][nch]
  int** masks;          // [kChunk][nch]
};

static void ChunkAlloc(RankChunk* c, int n) {
  c->count = 0;
  c->subsets = (RankSubset*)dim1D(sizeof(RankSubset), kChunk);
  c->results = (RankResult*)dim1D(sizeof(RankResult), kChunk);
  c->lists = dim2Dint(kChunk, n > 0 ? n : 1);
  c->masks = dim2Dint(kChunk, n > 0 ? n : 1);
  for (int s = 0; s < kChunk; s++) {
    c->subsets[s].list = c->lists[s];
    c->subsets[s].mask = c->masks[s];
  }
}

static void ChunkFree(RankChunk* c) {
  free2D(c->lists, kChunk);
  free2D(c->masks, kChunk);
  free1D(c->subsets);
  free1D(c->results);
}

// What the merge carries from subset to subset.
struct MergeState {
  RankMember* m;
  FILE* f;
  RankTable* table;
  RankBest* best;
  long long iteration;  // running count over all sizes, from 1
  long long total;
};

// The serial part of a chunk, in enumeration order.
static void MergeChunk(MergeState* st, const RankChunk* c) {
  char text[96];
  for (int s = 0; s < c->count; s++) {
    st->iteration++;
    snprintf(text, sizeof text, "Iteration: %d of %d, Traits: %d", (int)st->iteration, (int)st->total,
             c->subsets[s].k);
    HandleEventInfoWhere2(text);
    MergeOne(st->m, st->f, &c->subsets[s], &c->results[s], st->table, st->best);
  }
}

// Merges `done` while `next` is evaluated: on threads the main thread merges
// first and then joins the evaluation, which the others have begun; each
// result has its own place, so the order of evaluation doesn't matter. The
// merge writes only the file, the console and the bests; the evaluation only
// the work arrays and next's results.
static void MergeWhileEvaluating(MergeState* st, int nThreads, const RankChunk* done, RankChunk* next,
                                 FILE* companion) {
  if (nThreads <= 1 || companion != nullptr) {
    if (done != nullptr) MergeChunk(st, done);
    if (next != nullptr) EvaluateSerially(st->m, next->subsets, next->results, next->count, companion);
    return;
  }
  RankMember* m = st->m;
  int count = next != nullptr ? next->count : 0;
#pragma omp parallel num_threads(nThreads)
  {
#pragma omp master
    if (done != nullptr) MergeChunk(st, done);
#pragma omp for schedule(dynamic, 8) nowait
    for (int s = 0; s < count; s++) {
      RankResult* r = &next->results[s];
      r->evaluated = false;
      if (!next->subsets[s].skipped) m->evaluate(m->context, omp_get_thread_num(), &next->subsets[s], r, nullptr);
    }
  }
}

void RankSearchRun(RankMember* m, int nThreads, FILE* f, FILE* companion, RankTable* table, RankBest* best,
                   long long total) {
  int n = nch;
  RankEnumeration e;
  RankEnumerationAlloc(&e, n);
  RankChunk chunks[2];
  ChunkAlloc(&chunks[0], n);
  ChunkAlloc(&chunks[1], n);
  MergeState st = {m, f, table, best, 0, total};
  for (int k = 1; k <= nMaxTraitsChRank; k++) {
    if (k < nMinTraitsChRank) continue;
    best->value[k] = m->startValue;
    best->found[k] = false;
    best->groups[k] = 0;
    RankEnumerationStart(&e, k);
    // A chunk is evaluated while the one before it is merged; the last of
    // the size is merged alone, before the size's best line.
    RankChunk* done = nullptr;
    for (int cur = 0;; cur = 1 - cur) {
      RankChunk* next = &chunks[cur];
      next->count = RankEnumerationNext(&e, next->subsets, kChunk);
      if (next->count == 0) next = nullptr;
      if (done == nullptr && next == nullptr) break;
      MergeWhileEvaluating(&st, nThreads, done, next, companion);
      done = next;
    }
    PrintBestOfSize(f, m, best, k, true);
    fflush(f);
  }
  ChunkFree(&chunks[0]);
  ChunkFree(&chunks[1]);
  RankEnumerationFree(&e);
}

// ---- Report parts ----

void RankPrintLabels(FILE* f, int k, const int* list) {
  for (int j = 0; j < k; j++) fprintf(f, "%-2s\t", chLabel[list[j] - 1]);
}

void RankReportTop(FILE* f) {
  fprintf(f, "%s\n\n", version);
  fprintf(f, "%s\n", lineL);
  fprintf(f, "TRAIT SUBSET OPTIMIZATION\n");
  fprintf(f, "%s\n", lineL);
  TimeStamp(f);
  fprintf(f, "Session:        %s \n", sessionName);
  fprintf(f, "Formatted data: %s \n", whichFormda);
}

void RankReportTraits(FILE* f) {
  bool all = true;
  for (int t = 0; t < nch; t++)
    if (!(weight[t] > 0)) all = false;
  if (all) {
    fprintf(f, "All traits were considered.\n");
    return;
  }
  fprintf(f, "Traits that were considered:\n");
  for (int t = 0; t < nch; t++)
    if (weight[t] > 0) fprintf(f, "%-3s", chLabel[t]);
  fprintf(f, "\n");
}

void RankReportResemblance(FILE* f) {
  if (opt_ro != 1) return;
  const char* text = rese_opt >= 1 && rese_opt <= 10 ? rese_optInfo[rese_opt - 1] : "";
  fprintf(f, "Resemblance option between communities: %s\n", text);
}

void RankReportPartition(FILE* f) {
  fprintf(f, "Partition of OTUs into types specified by the user:\n");
  for (int i = 0; i < tcst; i++) fprintf(f, "%d\t", partition_OTUs[i]);
  fprintf(f, "\n");
}

void RankReportIntermediateHeading(FILE* f) {
  if (printRankIntermedResults != 'y') return;
  fprintf(f, "\n%-*s\t", sDigits + 6, "TRC");
  fprintf(f, "Trait subset used:\n");
}

void RankReportEnd(FILE* f, const RankMember* m, const RankTable* table, const RankBest* best,
                   const char* heading) {
  if (heading == nullptr)
    fprintf(f, "\n\nTrait subsets with maximum rank:\n%-*s\tSubset of traits\n", sDigits + 6, "TRC");
  else
    fprintf(f, "%s", heading);
  for (int r = table->rows - 1; r >= 1; r--) {
    if (table->size[r] <= 0) continue;
    fprintf(f, "%-*.*g\t", sDigits + 6, sDigits, table->value[r]);
    RankPrintLabels(f, table->size[r], table->traits[r]);
    fprintf(f, "\n");
  }
  fprintf(f, "\n\nTrait subsets with maximum rank for each number of traits:\n%-*s\tSubset of traits\n",
          sDigits + 6, "TRC");
  for (int k = nMinTraitsChRank; k <= nMaxTraitsChRank; k++) PrintBestOfSize(f, m, best, k, false);
  fprintf(f, "\n");
  fprintf(f, "Elapsed time: %g seconds\n", difftime(time(nullptr), time0));
}
