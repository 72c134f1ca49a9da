def main():
    i = 0
    n = 0
    while i < 5000000:
        n = n + i * 2 % 7 - 1
        i += 1
    print(n)
main()
