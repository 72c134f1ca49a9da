def main():
    for i in range(1, 10000001):
        pass
main()
