#!/usr/bin/env python3
"""Makes the example data: 120 individuals, 80 markers and two traits.

Genotype probabilities are as an imputation program writes them, most of them certain. The trait "height" rises by
about one standard deviation with every second allele of marker rs1042; the trait "noise" depends on nothing.
"""
import random

INDIVIDUALS = 120
MARKERS = 80
CAUSAL = 42  # rs1042

random.seed(20240229)


def probabilities(genotype):
    if random.random() < 0.8:
        shares = [0, 0, 0]
        shares[genotype] = 1000
    else:
        certain = random.randrange(600, 1000)
        shares = [0, 0, 0]
        shares[genotype] = certain
        shares[1 if genotype != 1 else random.choice((0, 2))] = 1000 - certain
    return " ".join(f"{share / 1000:g}" for share in shares)


height = [0.0] * INDIVIDUALS
with open("example.gen", "w") as file:
    for marker in range(1, MARKERS + 1):
        frequency = random.uniform(0.2, 0.8)
        genotypes = [(random.random() < frequency) + (random.random() < frequency) for _ in range(INDIVIDUALS)]
        if marker == CAUSAL:
            height = [170 + 6 * genotype + random.gauss(0, 6) for genotype in genotypes]
        first, second = random.choice(("A G", "C T")).split()
        columns = ["1", f"rs{1000 + marker}", str(50000 + 1300 * marker), first, second]
        file.write(" ".join(columns + [probabilities(genotype) for genotype in genotypes]) + "\n")

noise = [random.gauss(10, 2) for _ in range(INDIVIDUALS)]
with open("example.pheno", "w") as file:
    for name, values in (("height", height), ("noise", noise)):
        file.write(" ".join([name] + ["NA" if random.random() < 0.03 else f"{value:.1f}" for value in values]) + "\n")
