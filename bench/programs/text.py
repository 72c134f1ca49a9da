def main():
    for k in range(20):
        c = ""
        for i in range(100000):
            c += "0123456789"
    print(len(c))
main()
