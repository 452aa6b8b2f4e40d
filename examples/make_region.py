#!/usr/bin/env python3
"""Makes region.gen: 24 more markers around rs1042 for the 120 individuals of example.pheno.

Eight neighbouring markers, rs2009 to rs2016, mark the variant behind the trait "height": their genotypes follow it
closely, and each other. All other markers depend on nothing.
"""
import random

MARKERS = 24
LINKED = range(9, 17)

random.seed(20240301)
with open("example.pheno") as file:
    heights = [float(field) if field != "NA" else random.gauss(176, 7) for field in file.readline().split()[1:]]
ranks = [sum(other < height for other in heights) / len(heights) for height in heights]
causal = [min(2, max(0, int(3.4 * rank - 0.2 + random.gauss(0, 0.15)))) for rank in ranks]

with open("region.gen", "w") as file:
    for marker in range(1, MARKERS + 1):
        frequency = random.uniform(0.2, 0.8)
        drawn = [(random.random() < frequency) + (random.random() < frequency) for _ in causal]
        if marker in LINKED:
            drawn = [true if random.random() < 0.95 else other for true, other in zip(causal, drawn)]
        triplets = [" ".join("1" if genotype == call else "0" for call in range(3)) for genotype in drawn]
        file.write(" ".join(["1", f"rs{2000 + marker}", str(98350 + 500 * marker), "A", "G"] + triplets) + "\n")
