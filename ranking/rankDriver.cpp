// The run of a search member that keeps data of its own beside the shared run, and the report header of the members on the composition of types.
#include <cstdio>
#include <ctime>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "ranking/rankSearch.h"
#include "ranking/ranking.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

void RankHeaderComposition(FILE* f, const RankHeaderStyle* style) {
  RankReportTop(f);
  fprintf(f, "Trait-based approach: %s\n", OptionText(traitBasedOptInfo, 2, traitBasedOpt));
  fprintf(f, optUnitTotalAdjust1
                 ? "Community data matrix W adjusted to unit totals prior to trait convergence evaluation.\n"
                 : "Community data matrix W NOT adjusted to unit totals prior to trait convergence evaluation.\n");
  fprintf(f, optUnitTotalAdjust2 ? "Community data matrix W adjusted to unit totals prior to evaluation.\n"
                                 : "Community data matrix W NOT adjusted to unit totals prior to evaluation.\n");
  const char* measure = OptionText(opt_roInfo, 3, opt_ro);
  if (style->measureInCriterion)
    fprintf(f, "Trait ranking criterion (TRC): %s\t%s\n", OptStructText(opt_struct), measure);
  else
    fprintf(f, "Trait ranking criterion (TRC): %s\n", OptStructText(opt_struct));
  if (style->measureLine) fprintf(f, "Correlation measure: %s\n", measure);
  fprintf(f, "Pooling of OTUs: %s\n", OptionText(poolCSToptInfo, 2, poolCSTopt));
  if (style->partitionListed)
    RankReportPartition(f);
  else
    fprintf(f, "Clustering method defining types: none (groups were specified by the user).\n");
  fprintf(f, "Resemblance function between OTUs: %s\n", OptionText(reseCSToptInfo, 2, reseCSTopt));
  if (reseCSTopt == 1) fprintf(f, style->gowerLine, YesNotInfo[countDoubleAbsence != 0]);
  if (style->raoLine)
    fprintf(f, "Rao entropy based on traits computed on square root transformed dissimilarities? %s\n",
            YesNotInfo[sqrtDissimOpt_RaoTraits != 0]);
  fprintf(f, "Ranking algorithm: %s\n", OptionText(rankingAlgorithmInfo, 2, rankingAlgorithm));
  if (style->traits == 1) RankReportTraits(f);
  if (style->traits == 2) {
    bool all = true;
    for (int t = 0; t < nch; t++)
      if (!(weight[t] > 0)) all = false;
    if (all) {
      fprintf(f, "All traits were considered in the computation of Gower similarity index between populations.\n");
    } else {
      fprintf(f, "Traits considered in the computation of Gower similarity index between populations:\t");
      for (int t = 0; t < nch; t++)
        if (weight[t] > 0) fprintf(f, "%-3s", chLabel[t]);
      fprintf(f, "\n");
    }
  }
  fprintf(f, "Fuzzy transformation: %s\n", OptionText(fuzzyInfo, 4, fuzzy + 1));
  RankReportResemblance(f);
  if (style->factorLine && opt_ro != 1)
    fprintf(f,
            "For partial matrix correlations, the factor (f) for limiting the number of predictors in PCA "
            "regression in relation to sample size n (number of predictors = n/f): %g\n",
            overfitFactorPCARegr);
  if (printRankIntermedResults == 'y') {
    fprintf(f, "\n%-*s\t", sDigits + 6, "TRC");
    fprintf(f, style->groupsColumn ? "Groups\tTrait subset used:\n" : "Trait subset used:\n");
  }
}

void RankRunWithData(RankMember* m, RankRun* run, const RankMemberHooks* hooks) {
  // The search for r(XE.T), and the members built on it, seed the generator
  // from the clock, though no step draws on it.
  if (hooks->member == 9) InitRndNumberGenerator((unsigned long)time(nullptr));
  FILE* companion = nullptr;
  if (saveStruct == 'y') {
    companion = fopenck(hooks->companionName, volumeName, "w");
    if (companion == nullptr) FailJump(FAIL_OPEN);
  }
  RankRunPrepare(run, hooks->member);
  if (hooks->prepare != nullptr) hooks->prepare(m->context);
  RankTable table;
  RankTableAlloc(&table, nKeepTrack + 1, nch);
  RankBest best;
  RankBestAlloc(&best, nch, m->startValue);
  long long total = 0;
  for (int k = nMinTraitsChRank; k <= nMaxTraitsChRank; k++) total += RankCombinations(nch, k);
  FILE* f = fopenck(whichChorder, volumeName, "w");
  if (f == nullptr) FailJump(FAIL_OPEN);
  hooks->header(f);
  if (companion != nullptr && hooks->companionStart != nullptr) hooks->companionStart(companion, m->context);
  if (companion != nullptr && hooks->companionStart == nullptr) RankCompanionStart(companion, run);
  RankSearchRun(m, run->nThreads, f, companion, &table, &best, total);
  if (hooks->finish != nullptr)
    hooks->finish(m->context, f, m, &table, &best);
  else
    RankReportEnd(f, m, &table, &best, hooks->heading);
  fcloseck(f);
  if (companion != nullptr) fcloseck(companion);
  RankBestFree(&best, nch);
  RankTableFree(&table);
  if (hooks->release != nullptr) hooks->release(m->context);
  RankRunFree(run);
}
