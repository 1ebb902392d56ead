// The library that MissingDependency needs and can't find.
int BrassfoldTestVanishing(void);

int BrassfoldTestVanishing(void)
{
    return 7;
}
