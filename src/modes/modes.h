// The mode functions. Each reads its options from Switches, does its work and returns, or ends the run.
#pragma once

void genoToAd();      // genotype probabilities to dosages
void adToGen();       // dosages to genotype triplets
void avgAd();         // average dosage per marker
void avgGen();        // average genotype probabilities per marker
void genToLetters();  // genotype probabilities to letters
void readTest1();     // reading a large file: words
void readTest2();     //   lines of a text stream, split
void readTest3();     //   a line buffer, walked by hand
void readTest4();     //   blocks, walked by hand
void gwas();          // association scan over phenotype bins
void gwas2();         // the same, reading the genotypes once
void gwas3();         // fast association scan over genotype classes
void mixFit();        // samples as mixtures of reference populations
void family();        // families among pairs of relatives
void relout5();       // removal of related individuals
void relout6();       // removal of related individuals by marking
void ldPrune();       // association results thinned by genetic distance
void gwamaFilter();   // meta-analysis results by the directions of effect
void peakScan3();     // association peaks along the chromosomes
void levin();         // correlation over circular shifts
