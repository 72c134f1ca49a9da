def main():
    n = 1
    for k in range(10):
        a = [None] * 60000
        for i in range(60000):
            n = (n * 16807) % 2147483647
            a[i] = n
        a.sort()
    print(a[0])
main()
