// Intermediate output of the functional and phylogenetic correlation test:
// the observed matrices and, for each iteration, the permuted ones with the
// random statistics and running counts, in the detail file.
#include <cstdio>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCorrelWork.h"

// Digits of the numbers in the intermediate file.
#define PERM_DETAIL_DIGITS 6

static void PrintMat(PermWork* w, int rows, int cols, double** m) {
  PrintMatrixTab(w->in->detailFile, rows, cols, m, PERM_DETAIL_DIGITS);
}

// A resemblance matrix holds its values in the upper triangle; the printer
// shows the lower one, so it prints the transpose.
static void PrintRese(PermWork* w, int n, double** m) {
  TransposeSqMatrix(n, m, w->printWork);
  PrintLowerHalfMatrixTab(w->in->detailFile, n, w->printWork, PERM_DETAIL_DIGITS);
}

static void PrintCol(PermWork* w, double** v) {
  for (int c = 0; c < w->n; c++) w->printWork[0][c] = v[c][0];
  PrintVectorTab(w->in->detailFile, w->n, w->printWork[0], PERM_DETAIL_DIGITS, (int*)NULL);
}

static void PrintList(PermWork* w, int n) { PrintVectorTab(w->in->detailFile, n, w->list, (int*)NULL); }

void DetailPointA(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  fprintf(f, "\nPERMUTATION TEST FOR CORRELATIONS ro(XE), ro(TE) AND ro(RE), AND PARTIAL CORRELATIONS "
             "ro(XE.T), ro(XE.TR)\n");
  fprintf(f, "INTERMEDIATE RESULTS\n");
  fprintf(f, "\nObserved trait matrix (B):\n");
  PrintMat(w, in->nOTUs, in->nTraits, in->B);
  fprintf(f, "\nMatrix W (%d communities by %d OTUs):\n", n, in->nOTUs);
  PrintMat(w, n, in->nOTUs, in->W);
  fprintf(f, "\n\nMatrix T (comunity weighted means traits in %d communities by %d traits) computed after B "
             "(T = W x B):\n", n, in->nTraits);
  PrintMat(w, n, in->nTraits, w->T);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DT between %d communities (based on matrix T of traits by communities):\n",
            n);
    PrintRese(w, n, w->DT);
    fprintf(f, "\nResemblance matrix DE between %d communities (based on matrix E of ecological variables by "
               "communities):\n", n);
    PrintRese(w, n, in->DE);
    fprintf(f, "\nMatrix correlation between DT and DE:\t%g\n", w->stat[PT_rTE]);
  } else {
    fprintf(f, "\nMatrix E of communities by ecological variables):\n");
    PrintMat(w, n, in->nEnv, in->E);
    if (in->opt_ro == 3)
      fprintf(f, "\nRV coefficient between T and E:\t%g\n", w->stat[PT_rTE]);
    else
      fprintf(f, "\nProcrustes correlation between T and E:\t%g\n", w->stat[PT_rTE]);
  }
  fprintf(f, "\nObserved belonging matrix (U):\n");
  PrintMat(w, in->nOTUs, in->nTypes, in->U);
  fprintf(f, "\nObserved ro(XT)=\t%g\n", w->rXT);
  fprintf(f, "Observed ro(XE)=\t%g\n", w->stat[PT_rXE]);
  fprintf(f, "Observed ro(XE.T)=\t%g\n", w->stat[PT_rXE_T]);
}

void DetailPointB(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  fprintf(f, "\nObserved similarity matrix (Sb) between OTUs, based on the traits:\n:");
  PrintMat(w, in->nOTUs, in->nOTUs, in->Sb);
  fprintf(f, "\n\nRao entropy vector R (%d communities) computed after Sb:\n", n);
  PrintCol(w, w->R);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR comparing communities based on their Rao entropy: \n");
    PrintRese(w, n, w->DR);
  }
  if (!w->phyl) return;
  if (in->phylogenyIsDissimilarity)
    fprintf(f, "\nObserved dissimilarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
  else
    fprintf(f, "\nObserved similarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
  PrintMat(w, in->nOTUs, in->nOTUs, in->Sf);
  fprintf(f, "\n\nRao entropy vector R (%d communities) computed after Sf:\n", n);
  PrintCol(w, w->Rp);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DRaoPhyl comparing communities after based on their Rao entropy using "
               "phylogenetic distances: \n");
    PrintRese(w, n, w->DRp);
  }
}

void DetailPointC(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  if (w->taxa) {
    fprintf(f, "\n\nITERATION\t%d\n", iter);
    fprintf(f, "Permuted trait matrix (Brnd):\n");
    PrintMat(w, in->nOTUs, in->nTraits, w->Brnd);
    fprintf(f, "\nOrder of original OTUs in permuted traits matrix Brnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Trnd (%d communities by %d traits) generated after Brnd (Trnd = W x Brnd):\n", n,
            in->nTraits);
  } else {
    fprintf(f, "\nOrder of original communities in permuted traits matrix Trnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Trnd (%d communities by %d traits) permuted by site shuffle:\n", n, in->nTraits);
  }
  PrintMat(w, n, in->nTraits, w->T);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DT between %d communities:\n", n);
    PrintRese(w, n, w->DT);
  }
  fprintf(f, "\nIteration %d\tRandom ro(TE) =\t%g\tCummulative frequency for ro(TE)=%g\n", iter,
          w->stat[PT_rTE], w->count[PT_rTE]);
}

void DetailPointD(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  const double* s = w->stat;
  const double* k = w->count;
  fprintf(f, "\n\nITERATION\t%d\n", iter);
  if (w->taxa) {
    fprintf(f, "Permuted belonging matrix (Urnd) based on traits:\n");
    PrintMat(w, in->nOTUs, in->nTypes, w->Urnd);
    fprintf(f, "\nOrder of original OTUs in permuted belongin matrix Urnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated after Urnd (Xrnd = W x Urnd):\n", n,
            in->nTypes);
  } else {
    fprintf(f, "\nOrder of original communities in permuted matrix Xrnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated by site shuffle:\n", n, in->nTypes);
  }
  PrintMat(w, n, in->nTypes, w->X);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DX between %d communities:\n", n);
    PrintRese(w, n, w->DX);
  }
  fprintf(f, "\nIteration %d\tRandom ro(XT) =\t%g\tRandom ro(XE) =\t%g\tRandom ro(XE.T) =\t%g\tCummulative "
             "frequency for ro(XE)=%g\tCummulative frequency for ro(XE.T)=%g\n",
          iter, w->rXT, s[PT_rXE], s[PT_rXE_T], k[PT_rXE], k[PT_rXE_T]);
  if (!w->phyl) return;
  if (w->taxa) {
    fprintf(f, "Permuted belonging matrix (Qrnd) based on phylogeny:\n");
    PrintMat(w, in->nOTUs, in->nTaxa, w->Qrnd);
    fprintf(f, "\nOrder of original OTUs in permuted belongin matrix Qrnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Prnd (%d communities by %d taxa) generated after Qrnd (Prnd = W x Qrnd):\n", n,
            in->nTaxa);
  } else {
    fprintf(f, "\n\nITERATION\t%d\n", iter);
    fprintf(f, "\nOrder of original communities in permuted matrix Prnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Prnd (%d communities by %d taxa) generated site shuffle:\n", n, in->nTaxa);
  }
  PrintMat(w, n, in->nTaxa, w->P);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DP between %d communities:\n", n);
    PrintRese(w, n, w->DP);
  }
  fprintf(f, "\nIteration %d\tRandom values and cummulative frequencies for the following:\n ro(PE) =\t%g\t%g\n"
             "Random ro(PT) =\t%g\t%g\nRandom ro(PX) =\t%g\t%g\nRandom ro(PX.T) =\t%g\t%g\nRandom ro(TE.P) =\t%g\t"
             "%g\nRandom ro(XE.P) =\t%g\t%g\nRandom ro(XE.TP) =\t%g\t%g\nRandom ro(PE.T) =\t%g\t%g\nRandom "
             "ro(PE.X) =\t%g\t%g\n",
          iter, s[PT_roPE], k[PT_roPE], s[PT_roPT], k[PT_roPT], s[PT_roPX], k[PT_roPX], s[PT_roPX_T],
          k[PT_roPX_T], s[PT_roTE_P], k[PT_roTE_P], s[PT_roXE_P], k[PT_roXE_P], s[PT_roXE_TP], k[PT_roXE_TP],
          s[PT_roPE_T], k[PT_roPE_T], s[PT_roPE_X], k[PT_roPE_X]);
}

void DetailPointE(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  const double* s = w->stat;
  fprintf(f, "\n\nITERATION\t%d\n", iter);
  if (w->taxa) {
    fprintf(f, "Permuted similarity matrix (Srnd):\n");
    PrintMat(w, in->nOTUs, in->nOTUs, w->Srnd);
    fprintf(f, "\nOrder of original OTUs in permuted similarity matrix Srnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated after Srnd:\n", n);
  } else {
    fprintf(f, "\nOrder of original OTUs in permuted Rao diversity vector:\t");
    PrintList(w, n);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", n);
  }
  PrintCol(w, w->R);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR between %d communities:\n", n);
    PrintRese(w, n, w->DR);
  }
  fprintf(f, "\nIteration %d\tRandom ro(RE) =\t%g\tRandom ro(XR) =\t%g\tRandom ro(TR) =\t%g\tRandom ro(XE.R) "
             "=\t%g\tRandom ro(TE.R) =\t%g\tRandom ro(XT.R) =\t%g\tRandom ro(XE.TR) =\t%g\tCummulative frequency "
             "for ro(RE)=%g\tCummulative frequency for ro(XE.TR)=%g\n",
          iter, s[PT_rRE], w->rXR, w->rTR, w->rXE_R, w->rTE_R, w->rXT_R, s[PT_rXE_TR], w->count[PT_rRE],
          w->count[PT_rXE_TR]);
  if (!w->phyl) return;
  if (w->taxa) {
    fprintf(f, "Permuted phylogenetic similarity matrix (Sf_rnd):\n");
    PrintMat(w, in->nOTUs, in->nOTUs, w->Sfrnd);
    fprintf(f, "\nOrder of original OTUs in permuted similarity matrix Sf_rnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated after Sf_rnd:\n", n);
  } else {
    fprintf(f, "\nOrder of original communities in permuted phylogenetic diversity vector:\t");
    PrintList(w, n);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", n);
  }
  PrintCol(w, w->Rp);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR between %d communities:\n", n);
    PrintRese(w, n, w->DRp);
  }
  fprintf(f, "\nIteration %d\tRandom ro(FE) =\t%g\tCummulative frequency for ro(FE)=%g\n", iter, s[PT_rFE],
          w->count[PT_rFE]);
}
