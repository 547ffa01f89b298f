#!/usr/bin/env python3
# Usage: reference.py [small | selected | two | congruences | aravo <folder>]
"""Independent reference values for the scaling-up tests: T, DT, DE, S, D, Rf,
U, X, type sizes and r(TE) of small sessions, from the textbook definitions
(community weighted means, Gower similarity, Rao entropy, Pearson correlation
of the distances between communities)."""
import math
import sys


def unit_rows(W):
    out = []
    for row in W:
        tot = sum(row)
        out.append([x / (tot if tot != 0 else 1.0) for x in row])
    return out


def cwm(W, B, wOTU, mask):
    """Trait averages: sum w W B over sum W, selected traits only."""
    T = []
    for row in W:
        den = sum(row)
        T.append([(sum(wOTU[k] * row[k] * B[k][t] for k in range(len(row))) / den
                   if den != 0 else float('nan')) if mask[t] else 0.0
                  for t in range(len(B[0]))])
    return T


def normalise_cols(T):
    cols = len(T[0])
    out = [r[:] for r in T]
    for t in range(cols):
        ss = sum(r[t] ** 2 for r in T)
        if ss > 0:
            for r in out:
                r[t] /= math.sqrt(ss)
    return out


def euclid(M):
    n = len(M)
    return [[math.sqrt(sum((a - b) ** 2 for a, b in zip(M[i], M[j]))) for j in range(n)]
            for i in range(n)]


def upper(D):
    n = len(D)
    return [D[i][j] for i in range(n) for j in range(i + 1, n)]


def pearson(x, y):
    mx, my = sum(x) / len(x), sum(y) / len(y)
    sxy = sum((a - mx) * (b - my) for a, b in zip(x, y))
    sxx = sum((a - mx) ** 2 for a in x)
    syy = sum((b - my) ** 2 for b in y)
    return sxy / math.sqrt(sxx * syy) if sxx > 0 and syy > 0 else 0.0


def rho(DA, DB):
    if len(DA) >= 3:
        return pearson(upper(DA), upper(DB))
    a, b = DA[0][1], DB[0][1]
    return 1 - abs(a - b) / max(a, b)


def gower(B, weights):
    """Gower similarity over quantitative traits (range of each trait)."""
    n, p = len(B), len(B[0])
    rng = [max(r[t] for r in B) - min(r[t] for r in B) for t in range(p)]
    S = [[1.0] * n for _ in range(n)]
    for i in range(n):
        for j in range(n):
            if i == j:
                continue
            num = den = 0.0
            for t in range(p):
                if weights[t] <= 0:
                    continue
                s = 1 - abs(B[i][t] - B[j][t]) / rng[t] if rng[t] > 0 else 1.0
                num += weights[t] * s
                den += weights[t]
            S[i][j] = num / den
    return S


def rao(a, S, sqrt_d, wOTU=None, restrict=False):
    tot = sum(a)
    if tot <= 0:
        return 0.0
    n = len(a)
    r = 0.0
    for i in range(n):
        for j in range(n):
            d = 1 - S[i][j]
            d = math.sqrt(max(d, 0.0)) if sqrt_d else d
            f = 1.0
            if wOTU is not None:
                f = wOTU[i] * wOTU[j] if restrict else (1.0 if wOTU[i] == 1 or wOTU[j] == 1 else 0.0)
            r += f * a[i] / tot * a[j] / tot * d
    return r


def fuzzy_belonging(S, part):
    labels = sorted(set(part))
    n = len(part)
    U = []
    for i in range(n):
        row = []
        for g in labels:
            members = [j for j in range(n) if part[j] == g]
            row.append(sum(S[i][j] for j in members) / len(members))
        tot = sum(row)
        U.append([x / tot for x in row])
    return U


def prod(A, B):
    return [[sum(A[r][k] * B[k][c] for k in range(len(B))) for c in range(len(B[0]))]
            for r in range(len(A))]


def show(name, M):
    print(name)
    for row in M:
        print('\t'.join('%.6g' % x for x in row))


def session(B, W, E, part, weights, wOTU, sqrt_d=True, adjust2=False, restrict=False):
    mask = [1 if w > 0 else 0 for w in weights]
    W1 = unit_rows(W) if adjust2 else [r[:] for r in W]
    T = cwm(unit_rows(W), B, wOTU, mask)
    show('T', T)
    Tn = normalise_cols(T)
    show('T normalised', Tn)
    DT, DE = euclid(Tn), euclid(E)
    show('DT', DT)
    show('DE', DE)
    print('r(TE) = %.6g' % rho(DE, DT))
    S = gower(B, weights)
    show('S', S)
    I = [[1.0 if i == j else 0.0 for j in range(len(B))] for i in range(len(B))]
    print('D  ' + '\t'.join('%.6g' % rao(r, I, True, wOTU, restrict) for r in W1))
    Rf = [rao(r, S, sqrt_d, wOTU, restrict) for r in W1]
    print('Rf ' + '\t'.join('%.6g' % x for x in Rf))
    U = fuzzy_belonging(S, part)
    show('U', U)
    Uw = [[u * wOTU[i] for u in U[i]] for i in range(len(U))]
    show('X', prod(W1, Uw))
    labels = sorted(set(part))
    C = [[1.0 if part[i] == g else 0.0 for g in labels] for i in range(len(part))]
    Cw = [[c * wOTU[i] for c in C[i]] for i in range(len(C))]
    show('Xcrisp', prod(W1, Cw))


if __name__ == '__main__':
    B = [[1.5, 10], [2.5, 30], [4.0, 20], [3.0, 40]]
    W = [[2, 1, 0, 1], [0, 3, 1, 0], [1, 0, 2, 2]]
    E = [[0.5], [1.7], [3.2]]
    which = sys.argv[1] if len(sys.argv) > 1 else 'small'
    if which == 'small':
        session(B, W, E, [1, 1, 2, 2], [1, 1], [1, 1, 1, 1])
    elif which == 'selected':
        session(B, W, E, [1, 1, 2, 2], [0, 1], [1, 1, 0, 1], restrict=True)
    elif which == 'two':
        session(B, W[:2], E[:2], [1, 1, 2, 2], [1, 1], [1, 1, 1, 1])


def read_numbers(path, rows, cols):
    words = open(path).read().split()
    vals = [float(w) for w in words[:rows * cols]]
    return [vals[r * cols:(r + 1) * cols] for r in range(rows)]


def avg_ranks(x):
    order = sorted(range(len(x)), key=lambda i: x[i])
    ranks = [0.0] * len(x)
    k = 0
    while k < len(order):
        m = k
        while m + 1 < len(order) and x[order[m + 1]] == x[order[k]]:
            m += 1
        for q in range(k, m + 1):
            ranks[order[q]] = (k + m) / 2.0 + 1
        k = m + 1
    return ranks


def gower_mixed(M, types):
    """Gower similarity: 3 quantitative, 2 nominal, 4 ordinal (on average ranks)."""
    n, p = len(M), len(M[0])
    cols = []
    for t in range(p):
        col = [r[t] for r in M]
        cols.append(avg_ranks(col) if types[t] == 4 else col)
    rng = [max(c) - min(c) for c in cols]
    S = [[1.0] * n for _ in range(n)]
    for i in range(n):
        for j in range(i + 1, n):
            num = 0.0
            for t in range(p):
                a, b = cols[t][i], cols[t][j]
                if types[t] == 2:
                    num += 1.0 if a == b else 0.0
                else:
                    num += 1 - abs(a - b) / rng[t] if rng[t] > 0 else 1.0
            S[i][j] = S[j][i] = num / p
    return S


def aravo(folder):
    B = read_numbers(folder + '/traits.txt', 82, 8)
    W = read_numbers(folder + '/community.txt', 75, 82)
    E = read_numbers(folder + '/env.txt', 75, 6)
    part = [int(w) for w in open(folder + '/groups.txt').read().split()]
    ones = [1] * 82
    T = normalise_cols(cwm(unit_rows(W), B, ones, [1] * 8))
    SE = gower_mixed(E, [3, 3, 2, 3, 4, 3])
    DE = [[1 - s for s in row] for row in SE]
    DT = euclid(T)
    print('r(TE) of T as averages (report without tests) = %.6g' % rho(DE, DT))
    # The permutation test takes T = W B with W as read, no divisor.
    print('r(TE) of T = W B (report with tests) = %.6g' % rho(DE, euclid(normalise_cols(prod(W, B)))))
    S = gower(B, [1] * 8)
    assert all(S[i][j] < 1 for i in range(82) for j in range(82) if i != j)
    U = fuzzy_belonging(S, part)
    X = prod(W, U)
    print('r(XE) = %.6g' % rho(DE, euclid(X)))
    R = [rao(r, S, True) for r in W]
    DR = [[abs(a - b) for b in R] for a in R]
    print('r(RE) = %.6g' % rho(DE, DR))
    print('Rf[0:3] = ' + '\t'.join('%.6g' % x for x in R[:3]))
    print('D[0:3] = ' + '\t'.join('%.6g' % rao(r, [[1.0 if i == j else 0.0 for j in range(82)] for i in range(82)], True) for r in W[:3]))


if __name__ == '__main__' and len(sys.argv) > 2 and sys.argv[1] == 'aravo':
    aravo(sys.argv[2])


def centre_cols(M):
    n, p = len(M), len(M[0])
    means = [sum(r[t] for r in M) / n for t in range(p)]
    return [[r[t] - means[t] for t in range(p)] for r in M]


def rv(A, B):
    a, b = centre_cols(A), centre_cols(B)
    S, T = prod(a, transpose(a)), prod(b, transpose(b))
    dot = lambda P, Q: sum(P[i][j] * Q[i][j] for i in range(len(P)) for j in range(len(P)))
    return dot(S, T) / math.sqrt(dot(S, S) * dot(T, T))


def transpose(M):
    return [list(c) for c in zip(*M)]


def procrustes_one_column(x, Y):
    """Procrustes correlation of a one-column matrix x with Y: both centred and
    scaled to unit total variance; the only singular value of x'Y/(n-1)."""
    n = len(x)
    xc = [v - sum(x) / n for v in x]
    vx = sum(v * v for v in xc) / (n - 1)
    yc = centre_cols(Y)
    vy = sum(v * v for r in yc for v in r) / (n - 1)
    row = [sum(xc[i] * yc[i][t] for i in range(n)) / math.sqrt(vx * vy) / (n - 1)
           for t in range(len(Y[0]))]
    return math.sqrt(sum(v * v for v in row))


def corr_adj(M):
    c = centre_cols(M)
    out = [r[:] for r in c]
    for t in range(len(M[0])):
        ss = sum(r[t] ** 2 for r in c)
        for r in out:
            r[t] /= math.sqrt(ss) if ss > 0 else 1.0
    return out


def small_congruences():
    B = [[1.5, 10], [2.5, 30], [4.0, 20], [3.0, 40]]
    W = [[2, 1, 0, 1], [0, 3, 1, 0], [1, 0, 2, 2]]
    T = normalise_cols(cwm(unit_rows(W), B, [1] * 4, [1, 1]))
    print('Procrustes r(TE), E = 0.5 1.7 3.2: %.6g' % procrustes_one_column([0.5, 1.7, 3.2], T))
    print('RV r(TE), binary E: %.6g' % rv(corr_adj([[1, 0], [0, 1], [1, 1]]), T))


if __name__ == '__main__' and len(sys.argv) > 1 and sys.argv[1] == 'congruences':
    small_congruences()
