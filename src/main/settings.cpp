#include "main/settings.h"

std::string Phenoname;
std::string Genoname;
std::string Outname;
std::string Statsname;
std::string Delim;
std::string Missing;

int statistic = 2;
int bintype = 1;
int method = 1;
int testgroups = 3;
int groups = -9;
int xmethod = 0;
double stat_lim = 0.05;
double r2_lim = 0.8;
double slope_lim = 0.15;
double na_value = -99.99;

char rsnumber[500] = "RS";
