// Needs libbfvanishing.so, which lies where the loader does not look.
int BrassfoldTestVanishing(void);
int BrassfoldTestModuleAnswer(void);

int BrassfoldTestModuleAnswer(void)
{
    return BrassfoldTestVanishing();
}
